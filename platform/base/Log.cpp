// Writes log lines to standard error. Any thread, also in a forked child: neither locks nor the
// heap are used, so nothing can be in the wrong hands after a fork.
#include "platform/base/Log.h"

#include <poll.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Tessel::Platform {

namespace {

// What a pipe takes in one piece, even with several processes writing to it.
constexpr int MaximumLine = PIPE_BUF;
static_assert(MaximumLine == 4096);

char processName[64] = "pagehost";
std::atomic<unsigned> droppedLines = 0;
std::atomic<int> highestLevel = LogNotice;

bool isUtf8Continuation(char byte) {
  return (byte & 0xC0) == 0x80;
}

}  // namespace

void setupApplicationLogging(const char* name) {
  std::snprintf(processName, sizeof processName, "%s", name ? name : "");
  const char* level = std::getenv(logLevelVariable);
  highestLevel = level && std::strcmp(level, "error") == 0 ? LogError : LogNotice;
}

bool standardErrorTakesALine() {
  // A pipe is writable when it has a free page, which is a whole line. Anything but POLLOUT alone
  // means a closed reader, and the write would end in SIGPIPE.
  pollfd standardError{STDERR_FILENO, POLLOUT, 0};
  return ::poll(&standardError, 1, 0) == 1 && standardError.revents == POLLOUT;
}

void logAlways(int level, const char* format, ...) {
  if (level > highestLevel) return;
  const int callersErrno = errno;

  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const unsigned missing = droppedLines.exchange(0);

  // Two bytes more than a line has, to see the byte after the cut and to end the text with zero.
  char line[MaximumLine + 2];
  int length = std::snprintf(line, sizeof line, "[%s] %s %d %lld.%06ld ",
                             level == LogError ? "error" : "notice", processName, getpid(),
                             static_cast<long long>(now.tv_sec), now.tv_nsec / 1000);
  if (missing > 0) {
    length += std::snprintf(line + length, sizeof line - static_cast<std::size_t>(length),
                            "(%u lines missing) ", missing);
  }

  errno = callersErrno;  // for %m
  va_list arguments;
  va_start(arguments, format);
  const int textLength = std::vsnprintf(
      line + length, sizeof line - static_cast<std::size_t>(length), format, arguments);
  va_end(arguments);
  length += std::clamp(textLength, 0, MaximumLine);

  constexpr int room = MaximumLine - 1;  // the rest is the line's end
  if (length > room) {
    length = room;
    while (isUtf8Continuation(line[length])) --length;  // no half characters
  }
  std::replace_if(
      line, line + length, [](char c) { return c == '\n' || c == '\r'; }, ' ');
  line[length++] = '\n';

  // A reader that stalls must not stall us. Somebody may still fill the pipe between the question
  // and the write; only a lock that all writers share would exclude that.
  const auto size = static_cast<std::size_t>(length);
  if (!standardErrorTakesALine() || ::write(STDERR_FILENO, line, size) < 0) {
    droppedLines += missing + 1;
  }
  errno = callersErrno;
}

}  // namespace Tessel::Platform
