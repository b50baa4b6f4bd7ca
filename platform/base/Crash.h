// Aborts the process after a fatal error. Any thread.
#pragma once

namespace Tessel::Platform {

// Writes source, line, function and a backtrace to standard error, then aborts.
[[noreturn]] void platformCrash(const char* source, int line, const char* function);

}  // namespace Tessel::Platform
