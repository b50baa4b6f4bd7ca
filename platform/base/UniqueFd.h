// Owns a file descriptor and closes it. One thread at a time.
#pragma once

#include <unistd.h>

#include <utility>

namespace Tessel::Platform {

class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : fd_(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : fd_(other.release()) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    if (this != &other) reset(other.release());
    return *this;
  }
  ~UniqueFd() { reset(); }

  int get() const { return fd_; }
  explicit operator bool() const { return fd_ >= 0; }
  // Releases ownership: the caller closes the descriptor.
  int release() { return std::exchange(fd_, -1); }
  void reset(int fd = -1) {
    // No retry after EINTR: the number is free by then and may have been reused.
    if (const int old = std::exchange(fd_, fd); old >= 0) ::close(old);
  }

 private:
  int fd_ = -1;
};

}  // namespace Tessel::Platform
