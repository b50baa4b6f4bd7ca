// Forking a process in which libraries have started threads before main() ran.
#pragma once

#include <sys/types.h>

#include <chrono>

namespace Tessel::Platform {

// Like fork(2), but what the child gets was copied while every other thread of this process slept:
// what one of them holds at that moment would be held in the child for ever. (The engine's
// allocator has such a thread from the loading of its library on, and holds the heap's lock now
// and then.) The child begins only when that is certain, and ends at once if this process does.
//
// Threads that sleep while they hold something are not found out. A process that is never quiet is
// forked as it is once the patience is over, with a line in the log. No lock of a library may be
// held by the caller. Errors as those of fork(2) and pipe2(2).
pid_t forkUndisturbed(std::chrono::milliseconds patience = std::chrono::seconds(2));

}  // namespace Tessel::Platform
