// Accepting connections, and the pause that everybody makes who has no descriptor left for one: the
// connection that waits is still there, and would keep the loop busy. Any thread.
#pragma once

#include "platform/base/UniqueFd.h"

#include <sys/socket.h>

#include <cerrno>
#include <chrono>

namespace Tessel::Platform {

// The next connection, non-blocking and close-on-exec. Empty, with errno set, when there is none.
inline UniqueFd acceptOne(int listener) {
  return UniqueFd(::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
}

inline constexpr std::chrono::milliseconds acceptPause{100};

// Whether accept(2) failed for want of descriptors or memory, with this number of errno.
inline bool isShortOfDescriptors(int error) {
  return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

}  // namespace Tessel::Platform
