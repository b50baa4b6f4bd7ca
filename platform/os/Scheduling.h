// Scheduling priorities of processes. Any thread.
#pragma once

#include <sys/types.h>

namespace Tessel::Platform {

// The default priority. Larger values are more urgent; 1 is the minimum.
constexpr int normalPriority = 10;

// Sets the priority of a process (0: this one): of one of its threads (0: the calling one) or of
// all
// (-1). The policy -1 stays as it is, and no other one is taken. Each step below the normal
// priority is one of nice(2) up, each step above it one down, as far as they go. 0, or a number of
// errno: EACCES for a priority above what the user may take.
int SchedSet(pid_t process, pid_t thread, int policy, int priority);

}  // namespace Tessel::Platform
