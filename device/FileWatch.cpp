// Watches a name in a folder, by the watcher of shared objects.
#include "device/FileWatch.h"

#include "platform/loop/MessageClient.h"

#include <fcntl.h>

#include <utility>

namespace Device {

using Tessel::Platform::MainMessageClient;
using Tessel::Platform::PPSChange;
using Tessel::Platform::PPSPlace;
using Tessel::Platform::PPSWatcher;
using Tessel::Platform::UniqueFd;

FileWatch::FileWatch(const std::string& folder, const char* name, std::function<void()> changed) {
  auto* const client = MainMessageClient::instance();
  PPSPlace place{UniqueFd(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)), name};
  if (!client || !place.folder) return;
  watcher_ = PPSWatcher::of(*client);
  if (!watcher_) return;
  number_ = watcher_->add(place, [changed = std::move(changed)](PPSChange) { changed(); });
}

FileWatch::~FileWatch() {
  if (watcher_) watcher_->remove(number_);
}

}  // namespace Device
