// The name that a process shows, and threads that nobody waits for. The name is set while the
// process has one thread; threads may be started from any.
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

// Whether a process stands still because somebody has stopped it, or is looked at by a debugger.
// False for one that is not there.
bool isStoppedOrTraced(int pid);

// The process that forked it, or that it was given to later; 0 when there is no such process.
pid_t parentOf(pid_t pid);

// The thread's name is cut to 15 characters. False when there can be no thread; errno tells why.
bool startNamedDetachedThread(const char* name, void (*function)(void*), void* argument);

}  // namespace Tessel::Platform
