// Accepts connections. Servers pause when they run out of descriptors: the pending connection keeps
// the listener readable, and the loop would spin. Any thread.
#pragma once

#include "platform/base/UniqueFd.h"

#include <sys/socket.h>

#include <cerrno>
#include <chrono>

namespace Tessel::Platform {

// The next connection, non-blocking and close-on-exec. Empty, with errno set, on failure.
inline UniqueFd acceptOne(int listener) {
  return UniqueFd(::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
}

inline constexpr std::chrono::milliseconds acceptPause{100};

// Whether this errno of accept(2) means that descriptors or memory are exhausted.
inline bool isShortOfDescriptors(int error) {
  return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

}  // namespace Tessel::Platform
