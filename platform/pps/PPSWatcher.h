// Tells when files of objects change, by inotify: one instance per message client, whose thread is
// told.
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

// What happened is not told: who is told looks at the file, which may have changed again since.
enum class PPSChange {
  File,        // it was written, came or went
  FolderGone,  // the folder went or was moved away: nothing more is told
};

class PPSWatcher : public std::enable_shared_from_this<PPSWatcher> {
 public:
  // Runs on the client's thread, inside a callback of its main context; perhaps still once after
  // the watch has ended.
  using Handler = std::function<void(PPSChange)>;

  // The watcher of that client, which outlives it. Null, with errno set, when the system has no
  // instance to give. Any thread.
  static std::shared_ptr<PPSWatcher> of(MessageClient& client);

  PPSWatcher() = default;
  PPSWatcher(const PPSWatcher&) = delete;
  PPSWatcher& operator=(const PPSWatcher&) = delete;

  // The number of the new watch; -1 with errno set when there is none to be had. What happens from
  // now on is told, though the file is not there yet. Any thread.
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
  // All below under the mutex.
  FdSource source_;
  int lastNumber_ = 0;
  std::map<int, Watch> watches_;
};

}  // namespace Tessel::Platform
