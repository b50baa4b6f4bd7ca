// The memory that processes do not share.
#include "platform/os/MemoryStats.h"

#include "platform/base/Log.h"
#include "platform/os/ProcessTree.h"

#include <glib.h>
#include <unistd.h>

#include <cstdlib>

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
  const auto [resident, shared] = residenceOf(pid);
  return resident - shared;
}

void enableMemoryStatsLogging() {
  g_timeout_add_seconds(secondsBetweenLooks, logMemory, nullptr);
}

}  // namespace Tessel::Platform
