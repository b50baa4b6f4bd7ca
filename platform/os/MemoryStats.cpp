// What memory a process takes, for the log. UI thread.
#include "platform/os/MemoryStats.h"

#include "platform/base/Log.h"

#include <glib.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace Tessel::Platform {

namespace {

constexpr guint secondsBetweenLooks = 60;

gboolean logMemory(gpointer) {
  static long logged = 0;
  const long now = static_cast<long>(privateMemoryOf(::getpid()) / 1024);
  if (std::labs(now - logged) > logged / 10) {
    logAlways(LogNotice, "Memory of process %d: %ld kB of its own", static_cast<int>(::getpid()),
              now);
    logged = now;
  }
  return G_SOURCE_CONTINUE;
}

}  // namespace

std::uint64_t privateMemoryOf(int pid) {
  std::FILE* const file = std::fopen(("/proc/" + std::to_string(pid) + "/statm").c_str(), "re");
  if (!file) return 0;
  long size = 0;
  long resident = 0;
  long shared = 0;
  const bool isRead = std::fscanf(file, "%ld %ld %ld", &size, &resident, &shared) == 3;
  std::fclose(file);
  return isRead ? static_cast<std::uint64_t>(resident - shared) *
                      static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE))
                : 0;
}

void enableMemoryStatsLogging() {
  g_timeout_add_seconds(secondsBetweenLooks, logMemory, nullptr);
}

}  // namespace Tessel::Platform
