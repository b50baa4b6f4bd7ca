// Writes log lines to standard error. Any thread, also in a forked child: uses neither locks nor
// the heap, which may be in an inconsistent state after a fork.
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

// The size up to which a pipe write is atomic, even with several writers.
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
  const auto* const word = std::ranges::find(logLevelWords, std::string_view(level ? level : ""));
  highestLevel = word == std::end(logLevelWords)
                     ? LogNotice
                     : static_cast<int>(word - std::begin(logLevelWords));
}

bool standardErrorTakesALine() {
  // POLLOUT on a pipe means a free page, which holds a whole line. Any other flag means that the
  // reader is gone, and the write would raise SIGPIPE.
  pollfd standardError{STDERR_FILENO, POLLOUT, 0};
  return ::poll(&standardError, 1, 0) == 1 && standardError.revents == POLLOUT;
}

void logAlways(int level, const char* format, ...) {
  if (level > highestLevel) return;
  const int callersErrno = errno;

  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const unsigned missing = droppedLines.exchange(0);

  // Two bytes more than a line: one to detect truncation, one for the terminator.
  char line[MaximumLine + 2];
  int length =
      std::snprintf(line, sizeof line, "[%s] %s %d %lld.%06ld ", logLevelWords[level].data(),
                    processName, getpid(), static_cast<long long>(now.tv_sec), now.tv_nsec / 1000);
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
    while (isUtf8Continuation(line[length])) --length;  // do not cut inside a UTF-8 sequence
  }
  std::replace_if(
      line, line + length, [](char c) { return c == '\n' || c == '\r'; }, ' ');
  line[length++] = '\n';

  // A stalled reader must not block us. Another writer may still fill the pipe between poll and
  // write; excluding that would take a lock shared by all writers.
  const auto size = static_cast<std::size_t>(length);
  if (!standardErrorTakesALine() || ::write(STDERR_FILENO, line, size) < 0) {
    droppedLines += missing + 1;
  }
  errno = callersErrno;
}

}  // namespace Tessel::Platform
