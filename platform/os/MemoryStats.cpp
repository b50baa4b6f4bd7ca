// What memory a process takes, for the log. UI thread.
#include "platform/os/MemoryStats.h"

#include "platform/base/Log.h"

#include <glib.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace Tessel::Platform {

namespace {

constexpr guint secondsBetweenLooks = 60;

// Kilobytes that this process does not share, by /proc/self/statm; 0 when it cannot be read.
long privateMemory() {
  std::FILE* const file = std::fopen("/proc/self/statm", "re");
  if (!file) return 0;
  long size = 0;
  long resident = 0;
  long shared = 0;
  const bool isRead = std::fscanf(file, "%ld %ld %ld", &size, &resident, &shared) == 3;
  std::fclose(file);
  return isRead ? (resident - shared) * (::sysconf(_SC_PAGESIZE) / 1024) : 0;
}

gboolean logMemory(gpointer) {
  static long logged = 0;
  const long now = privateMemory();
  if (std::labs(now - logged) > logged / 10) {
    logAlways(LogNotice, "Memory of process %d: %ld kB of its own", static_cast<int>(::getpid()),
              now);
    logged = now;
  }
  return G_SOURCE_CONTINUE;
}

}  // namespace

void enableMemoryStatsLogging() {
  g_timeout_add_seconds(secondsBetweenLooks, logMemory, nullptr);
}

}  // namespace Tessel::Platform
