// Prints a backtrace and aborts. Any thread.
#include "platform/base/Crash.h"

#include "platform/base/Log.h"

#include <execinfo.h>
#include <unistd.h>

#include <cstdlib>

namespace Tessel::Platform {

void platformCrash(const char* source, int line, const char* function) {
  logAlways(LogError, "crash at %s:%d in %s", source, line, function);

  void* frames[64];
  const int count = backtrace(frames, 64);
  // Frame by frame: stops once standard error is blocked or closed, so that the abort is not
  // delayed.
  for (int i = 0; i < count && standardErrorTakesALine(); ++i) {
    backtrace_symbols_fd(&frames[i], 1, STDERR_FILENO);
  }
  std::abort();
}

}  // namespace Tessel::Platform
