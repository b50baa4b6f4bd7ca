// The log: one line on standard error per entry. Any thread; safe after a fork; never blocks.
#pragma once

#include <string_view>

namespace Tessel::Platform {

enum LogLevel : int { LogError = 0, LogNotice = 1, LogTrace = 2 };

// Their names, in order.
inline constexpr std::string_view logLevelWords[] = {"error", "notice", "trace"};

// The environment variable for the log level: a word, by default "notice". What is above it is not
// logged.
inline constexpr const char* logLevelVariable = "PAGEHOST_LOG_LEVEL";

// Sets the process name for all later lines and reads the variable. Call it once at the start of
// each process, and again in a forked child. The name is copied (at most 63 bytes of it).
void setupApplicationLogging(const char* processName);

// Writes one line: level, process name, pid, monotonic seconds, text. Lines are truncated at 4 KiB,
// so that writes to a pipe are atomic, and line breaks become spaces. If standard error would
// block, the line is dropped; the next line that is written reports the number of dropped ones.
void logAlways(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Logs that the start of a process, a web view or a page has come so far, for bench/trace-start.
inline void traceStart(const char* step) {
  logAlways(LogTrace, "Start: %s", step);
}

// Whether a line can be written to standard error without blocking and without SIGPIPE.
bool standardErrorTakesALine();

}  // namespace Tessel::Platform
