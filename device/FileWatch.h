// Watches a name in a folder: whether it comes, goes, or changes. Main thread.
#pragma once

#include "platform/pps/PPSWatcher.h"

#include <functional>
#include <memory>
#include <string>

namespace Device {

class FileWatch {
 public:
  // Nothing is watched where there is no such folder, or no main client.
  FileWatch(const std::string& folder, const char* name, std::function<void()> changed);
  ~FileWatch();
  FileWatch(const FileWatch&) = delete;
  FileWatch& operator=(const FileWatch&) = delete;

 private:
  std::shared_ptr<Tessel::Platform::PPSWatcher> watcher_;  // null if nothing is watched
  int number_ = -1;
};

}  // namespace Device
