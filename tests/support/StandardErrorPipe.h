// Replaces standard error by a pipe for the duration of a scope.
#pragma once

#include "platform/base/UniqueFd.h"

#include <fcntl.h>
#include <unistd.h>

#include <string>

namespace Tessel::Platform::Testing {

class StandardErrorPipe {
 public:
  StandardErrorPipe() : original_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)) {
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) == 0) {
      readEnd_.reset(ends[0]);
      dup2(ends[1], STDERR_FILENO);
      close(ends[1]);
      fcntl(readEnd_.get(), F_SETFL, O_NONBLOCK);
    }
  }
  ~StandardErrorPipe() { dup2(original_.get(), STDERR_FILENO); }

  // The output since the last call.
  std::string read() {
    std::string text;
    char chunk[65536];
    for (ssize_t n; (n = ::read(readEnd_.get(), chunk, sizeof chunk)) > 0;) {
      text.append(chunk, static_cast<std::size_t>(n));
    }
    return text;
  }
  void closeReadEnd() { readEnd_.reset(); }

 private:
  UniqueFd original_;
  UniqueFd readEnd_;
};

}  // namespace Tessel::Platform::Testing
