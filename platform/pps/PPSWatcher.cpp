// Detects changes of object files. Watches may be added and removed on any thread; events are read
// on the client's.
#include "platform/pps/PPSWatcher.h"

#include <glib.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace Tessel::Platform {

namespace {

// Events of a closed or moved-in file: before that it may be incomplete.
constexpr unsigned int fileEvents =
    IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_CREATE | IN_ATTRIB;
constexpr unsigned int folderEvents = IN_DELETE_SELF | IN_MOVE_SELF;
constexpr unsigned int folderIsGone = folderEvents | IN_UNMOUNT | IN_IGNORED;
// Reads per dispatch, so that other sources of the thread are served.
constexpr int readsAtOnce = 16;

struct Registry {
  std::mutex mutex;
  std::map<MessageClient*, std::weak_ptr<PPSWatcher>> watchers;
};

Registry& registry() {
  static auto* const registry = new Registry;  // leaked, like the web-engine thread
  return *registry;
}

}  // namespace

std::shared_ptr<PPSWatcher> PPSWatcher::of(MessageClient& client) {
  const std::lock_guard lock(registry().mutex);
  std::erase_if(registry().watchers, [](const auto& entry) { return entry.second.expired(); });
  std::weak_ptr<PPSWatcher>& known = registry().watchers[&client];
  if (auto watcher = known.lock()) return watcher;
  auto watcher = std::make_shared<PPSWatcher>();
  watcher->inotify_.reset(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  if (!watcher->inotify_) return nullptr;
  known = watcher;
  client.dispatchMessage(executableMessage([weak = known] {
    if (const auto there = weak.lock()) there->attach();
  }));
  return watcher;
}

void PPSWatcher::attach() {
  const auto onReadable = [weak = weak_from_this()](short) {
    if (const auto watcher = weak.lock()) watcher->readEvents();
  };
  GMainContext* const context = g_main_context_ref_thread_default();
  {
    const std::lock_guard lock(mutex_);
    source_.watch(inotify_.get(), POLLIN, onReadable, {.name = "pps watcher", .context = context});
  }
  g_main_context_unref(context);
}

int PPSWatcher::add(const PPSPlace& place, Handler handler) {
  // By the open folder's descriptor, independent of what its path leads to by now.
  const std::string folder = "/proc/self/fd/" + std::to_string(place.folder.get());
  // Locked before inotify_add_watch: another watch of the same folder may just be ending.
  const std::lock_guard lock(mutex_);
  const int number = ::inotify_add_watch(inotify_.get(), folder.c_str(),
                                         fileEvents | folderEvents | IN_ONLYDIR | IN_EXCL_UNLINK);
  if (number < 0) return -1;
  watches_.emplace(++lastNumber_, Watch{number, place.name, std::move(handler)});
  return lastNumber_;
}

void PPSWatcher::remove(int number) {
  Handler ended;  // released after the lock
  const std::lock_guard lock(mutex_);
  const auto found = watches_.find(number);
  if (found == watches_.end()) return;
  const int folder = found->second.folder;
  ended = std::move(found->second.handler);
  watches_.erase(found);
  const bool isUsed = std::any_of(watches_.begin(), watches_.end(), [folder](const auto& entry) {
    return entry.second.folder == folder;
  });
  if (!isUsed) ::inotify_rm_watch(inotify_.get(), folder);
}

void PPSWatcher::readEvents() {
  alignas(inotify_event) std::array<char, 65536> buffer;
  Told told;
  for (int i = 0; i < readsAtOnce; ++i) {
    const ssize_t size = ::read(inotify_.get(), buffer.data(), buffer.size());
    if (size <= 0) break;
    sort(buffer.data(), static_cast<std::size_t>(size), told);
  }
  // Each once, however often it was written.
  for (const auto& [number, what] : told) what.second(what.first);
}

void PPSWatcher::sort(const char* buffer, std::size_t size, Told& told) {
  const std::lock_guard lock(mutex_);
  for (std::size_t at = 0; at + sizeof(inotify_event) <= size;) {
    inotify_event event{};
    std::memcpy(&event, buffer + at, sizeof event);
    const char* const name = event.len > 0 ? buffer + at + sizeof event : "";
    at += sizeof event + event.len;
    // The queue has overflowed: any watched file may have changed.
    const bool isAny = (event.mask & IN_Q_OVERFLOW) != 0;
    const bool isGone = (event.mask & folderIsGone) != 0;
    for (const auto& [number, watch] : watches_) {
      if (!isAny && watch.folder != event.wd) continue;
      if (isGone) {
        told[number] = {PPSChange::FolderGone, watch.handler};
      } else if (isAny || watch.name == name) {
        told.emplace(number, std::pair(PPSChange::File, watch.handler));
      }
    }
  }
}

}  // namespace Tessel::Platform
