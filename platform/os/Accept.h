// What everybody who accepts connections does when the process has no descriptor left: it pauses.
// The connection that waits is still there, and would keep the loop busy. Any thread.
#pragma once

#include <cerrno>
#include <chrono>

namespace Tessel::Platform {

inline constexpr std::chrono::milliseconds acceptPause{100};

// Whether accept(2) failed for want of descriptors or memory, with this number of errno.
inline bool isShortOfDescriptors(int error) {
  return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

}  // namespace Tessel::Platform
