// The processes of this machine, as /proc tells them. Any thread.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace test_support {

std::vector<pid_t> allProcesses();
// The name that the kernel keeps, or the whole one where the process has set it; "" for none.
std::string nameOf(pid_t pid);
// The environment that it was started with.
std::string environmentOf(pid_t pid);
// Zombies are not.
bool isRunning(pid_t pid);
std::vector<pid_t> childrenOf(pid_t pid);
// Milliseconds of processor time that it has used so far.
long processorTime(pid_t pid);
std::vector<pid_t> zombiesOf(pid_t parent);
// Of every generation.
std::vector<pid_t> descendantsOf(pid_t pid);
// Those whose name begins like that.
std::vector<pid_t> descendantsNamed(pid_t pid, const char* name);

}  // namespace test_support
