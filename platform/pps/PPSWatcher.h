// Watches the files of objects with inotify. One instance per message client; handlers run on the
// client's thread.
#pragma once

#include "platform/base/FdSource.h"
#include "platform/base/UniqueFd.h"
#include "platform/loop/MessageClient.h"
#include "platform/pps/PPSFiles.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace Tessel::Platform {

// Without details of the change: handlers read the file, which may have changed again since.
enum class PPSChange {
  File,        // the file was written, created or removed
  FolderGone,  // the folder was removed or moved away: no further notifications
};

class PPSWatcher : public std::enable_shared_from_this<PPSWatcher> {
 public:
  // Called on the client's thread from its main context, possibly once more after the watch was
  // removed.
  using Handler = std::function<void(PPSChange)>;

  // The watcher of that client, which outlives it. Null, with errno set, if no inotify instance can
  // be created. Any thread.
  static std::shared_ptr<PPSWatcher> of(MessageClient& client);

  PPSWatcher() = default;
  PPSWatcher(const PPSWatcher&) = delete;
  PPSWatcher& operator=(const PPSWatcher&) = delete;

  // The number of the new watch; -1 with errno set on failure. Changes from now on are reported,
  // also the creation of a missing file. Any thread.
  int add(const PPSPlace& place, Handler handler);
  // Any thread.
  void remove(int number);

 private:
  struct Watch {
    int folder;
    std::string name;
    Handler handler;
  };
  using Told = std::map<int, std::pair<PPSChange, Handler>>;

  void attach();
  void readEvents();
  void sort(const char* buffer, std::size_t size, Told& told);

  UniqueFd inotify_;
  std::mutex mutex_;
  // Guarded by the mutex:
  FdSource source_;
  int lastNumber_ = 0;
  std::map<int, Watch> watches_;
};

}  // namespace Tessel::Platform
