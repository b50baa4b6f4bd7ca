// Scheduling priorities of processes.
#include "platform/os/Scheduling.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace Tessel::Platform {

namespace {

int setNice(pid_t thread, int nice) {
  return ::setpriority(PRIO_PROCESS, static_cast<id_t>(thread), nice) == 0 ? 0 : errno;
}

}  // namespace

int SchedSet(pid_t process, pid_t thread, int policy, int priority) {
  if (policy != -1 || priority < 1) return EINVAL;
  constexpr int leastUrgent = 19;
  constexpr int mostUrgent = -20;
  const int nice = std::clamp(normalPriority - priority, mostUrgent, leastUrgent);
  // The kernel keeps it for each thread, also where it speaks of processes.
  if (thread != -1) return setNice(thread, nice);
  const pid_t pid = process == 0 ? ::getpid() : process;
  std::error_code problem;
  const auto threads =
      std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/task", problem);
  if (problem) return ESRCH;
  int result = 0;
  for (const auto& entry : threads) {
    const int error = setNice(std::atoi(entry.path().filename().c_str()), nice);
    // One that has ended since needs none.
    if (error != 0 && error != ESRCH) result = error;
  }
  return result;
}

}  // namespace Tessel::Platform
