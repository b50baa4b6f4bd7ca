// The memory of processes. Any thread.
#pragma once

#include <sys/types.h>

#include <vector>

namespace bench {

// What the processes have in memory, shared pages by their share: megabytes.
double memoryOf(const std::vector<pid_t>& pids);

// The process and its descendants of every generation.
std::vector<pid_t> treeOf(pid_t pid);

// Pages settle for a while after they are loaded: waits for that.
void settle();

}  // namespace bench
