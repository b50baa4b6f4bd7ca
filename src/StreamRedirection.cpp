// Redirects standard output and standard error to files. For a process with one thread.
#include "src/StreamRedirection.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

void redirectStandardStream(int descriptor, const char* path, int openFlags) {
  // open() returns the lowest free descriptor.
  ::close(descriptor);
  if (::open(path, openFlags, 0600) >= 0) return;
  const int error = errno;
  const bool isOutput = descriptor == STDOUT_FILENO;
  FILE* other = isOutput ? stderr : stdout;
  std::fprintf(other, "Could not open %s as %s: error %d\n", path, isOutput ? "stdout" : "stderr",
               error);
  std::fflush(other);
  ::open("/dev/null", O_WRONLY);
}
