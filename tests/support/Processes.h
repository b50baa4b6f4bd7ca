// The processes of this machine, from /proc. Any thread.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace test_support {

std::vector<pid_t> allProcesses();
// The kernel's name of the process, or the full one if the process has set it; "" for none.
std::string nameOf(pid_t pid);
// The environment that it was started with.
std::string environmentOf(pid_t pid);
// Zombies are not.
bool isRunning(pid_t pid);
std::vector<pid_t> childrenOf(pid_t pid);
// The processor time used so far, in milliseconds.
long processorTime(pid_t pid);
std::vector<pid_t> zombiesOf(pid_t parent);
// All descendants.
std::vector<pid_t> descendantsOf(pid_t pid);
// Those with that prefix of the name.
std::vector<pid_t> descendantsNamed(pid_t pid, const char* name);

}  // namespace test_support
