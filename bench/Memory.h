// The memory of processes. Any thread.
#pragma once

#include <sys/types.h>

#include <vector>

namespace bench {

// The memory of the processes (PSS) in megabytes.
double memoryOf(const std::vector<pid_t>& pids);

// The process and all its descendants.
std::vector<pid_t> treeOf(pid_t pid);

// Waits until the memory of loaded pages is stable.
void settle();

}  // namespace bench
