// The displayed name of the process, and detached threads. The name must be set while the process
// has a single thread; threads may be started from any thread.
#pragma once

#include <sys/types.h>

namespace Tessel::Platform {

// Where the kernel keeps the arguments that it shows: main()'s own, given once before the first
// showProcessName. They are taken over by the name from then on.
void rememberArguments(int argc, char** argv);

// What process lists show from now on, in the long form as well as in the short one, of which the
// kernel keeps 15 characters. Cut to the room that the arguments and the environment had.
void showProcessName(const char* name);

// The name as it was set last; main()'s first argument before that, and "" before that.
const char* processName();

// Whether a process is stopped or traced by a debugger. False if it does not exist.
bool isStoppedOrTraced(int pid);

// The process that forked it, or that it was given to later; 0 for a process that has none here, -1
// when there is no such process.
pid_t parentOf(pid_t pid);

// The thread's name is cut to 15 characters. False when there can be no thread; errno tells why.
bool startNamedDetachedThread(const char* name, void (*function)(void*), void* argument);

}  // namespace Tessel::Platform
