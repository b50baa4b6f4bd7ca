// A small file, private to the user, that several processes of the program share: read and replaced
// as a whole. Main thread.
#pragma once

#include "platform/base/String.h"
#include "platform/base/UniqueFd.h"

#include <sys/types.h>

#include <ctime>
#include <functional>
#include <string>

class PrivateFile {
 public:
  using String = Tessel::Platform::String;

  // Larger files are not read.
  static constexpr off_t largest = 8 << 20;

  // The folder is made, with mode 0700, when something is first written.
  PrivateFile(std::string folder, const char* name);

  // The whole file; empty if it does not exist or cannot be read, which is logged.
  String read() const;
  // Whether it may have changed since the last call.
  bool hasChanged();
  // Applies the change and replaces the file atomically, with mode 0600; changes by other processes
  // wait meanwhile. An empty text removes it. False, and logged, on failure: no change waits for
  // longer than half a second.
  bool change(const std::function<String(const String& before)>& change);

 private:
  struct Identity {
    ino_t number = 0;
    off_t size = -1;
    timespec time{};
    bool operator==(const Identity& other) const {
      return number == other.number && size == other.size && time.tv_sec == other.time.tv_sec &&
             time.tv_nsec == other.time.tv_nsec;
    }
  };

  Tessel::Platform::UniqueFd lock() const;
  bool replace(const String& text) const;
  bool failed(const char* what) const;

  std::string folder_;
  std::string path_;
  Identity seen_;
};

// The folder that all processes of the user share.
std::string autofillFolder();
