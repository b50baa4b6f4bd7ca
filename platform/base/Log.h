// The log: one line on standard error per entry. Any thread; safe after a fork; never blocks.
#pragma once

namespace Tessel::Platform {

enum LogLevel : int { LogError = 0, LogNotice = 1 };

// The variable of the environment that says what is logged: "error" leaves notices out.
inline constexpr const char* logLevelVariable = "PAGEHOST_LOG_LEVEL";

// Names the process in every later line, and reads the variable. Call it once at the start of each
// process, and again in a forked child. The name is copied (at most 63 bytes of it).
void setupApplicationLogging(const char* processName);

// Writes one line: level, process name, pid, monotonic seconds, text. A line is cut at 4 KiB, so
// that it reaches a pipe in one piece, and line breaks in it become spaces. When standard error
// cannot take it at once the line is dropped and the next one that gets through says how many
// are missing.
void logAlways(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Whether a line on standard error would neither wait for its reader nor find it gone.
bool standardErrorTakesALine();

}  // namespace Tessel::Platform
