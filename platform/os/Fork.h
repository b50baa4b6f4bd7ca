// Forking a process in which libraries have started threads before main() ran.
#pragma once

#include <sys/types.h>

#include <chrono>

namespace Tessel::Platform {

// Like fork(2), but makes sure that all other threads of this process were asleep at the time of
// the copy: a lock held by one of them would stay locked in the child forever. (The engine's
// allocator starts such a thread when its library is loaded, which occasionally holds the heap's
// lock.) The child is released only once that is certain, and exits at once if this process does.
//
// Threads that sleep while holding a lock are not detected. If the other threads do not become idle
// in time, the process is forked anyway, and this is logged. The caller must not hold locks of
// libraries. Errors are those of fork(2) and pipe2(2).
pid_t forkUndisturbed(std::chrono::milliseconds patience = std::chrono::seconds(2));

}  // namespace Tessel::Platform
