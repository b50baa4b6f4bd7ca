// The launcher server with a test application instead of the real one, which reports its own state
// instead of showing a window.
#include "platform/base/Log.h"
#include "platform/os/Process.h"
#include "src/LauncherServer.h"
#include "tests/support/FileContent.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

std::string linkText(int descriptor) {
  std::error_code problem;
  return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), problem)
      .string();
}

// The number of open descriptors other than the standard streams.
int foreignDescriptors() {
  int count = 0;
  for (int descriptor = 3; descriptor < 256; ++descriptor)
    count += ::fcntl(descriptor, F_GETFD) >= 0;
  return count;
}

// "granted" or the error.
std::string attempt(long number, long argument) {
  return ::syscall(number, argument) == 0 ? "granted" : std::to_string(errno);
}

// Writes the application's state according to the kernel and its own checks to the FIFO named by
// the variable REPORT, as lines "key=value" up to an empty one, then exits with the status of the
// variable STATUS, or 0. Prints "out" to standard output and "err" to standard error.
void reportMain(int argc, char** argv) {
  std::ostringstream text;
  std::istringstream status(test_support::contentOf("/proc/self/status"));
  for (std::string line; std::getline(status, line);) {
    text << line.replace(line.find(':'), 2, "=") << '\n';
  }
  text << "nice=" << ::getpriority(PRIO_PROCESS, 0)
       << "\nfolder=" << std::filesystem::current_path().string() << "\nin=" << linkText(0)
       << "\nout=" << linkText(1) << "\nerr=" << linkText(2)
       << "\nforeign=" << foreignDescriptors();
  std::string arguments;
  for (int i = 0; i < argc; ++i) arguments += std::string(argv[i]) + ",";
  text << "\narguments=" << arguments << (argv[argc] ? "unterminated" : "");
  for (const char* name :
       {"GREETING", "EMPTY", "EQUATION", "OVERWRITTEN", "SERVERS_SECRET", "HOME"}) {
    const char* value = std::getenv(name);
    text << "\n" << name << "=" << (value ? value : "unset");
  }
  const bool hasSecret =
      test_support::contentOf("/proc/self/environ").find("not for applications") !=
      std::string::npos;
  text << "\nsecretInMemory=" << hasSecret;
  std::puts("out");
  std::fflush(stdout);
  std::fputs("err\n", stderr);
  // Root at last, the server's user, some user, some group, and another process of another user.
  text << "\nbecomeRoot=" << attempt(SYS_setuid, 0) << "\nbecomeServer=" << attempt(SYS_setuid, 89)
       << "\nbecomeOther=" << attempt(SYS_setuid, 4321) << "\nrootGroup=" << attempt(SYS_setgid, 0)
       << "\nsignalParent=" << (::kill(::getppid(), 0) == 0 ? "granted" : std::to_string(errno))
       << "\n\n";
  const char* const report = std::getenv("REPORT");
  const int pipe = report ? ::open(report, O_WRONLY) : -1;
  const std::string bytes = text.str();
  if (::write(pipe, bytes.data(), bytes.size()) < 0) std::exit(9);
  const char* const wanted = std::getenv("STATUS");
  std::exit(wanted ? std::atoi(wanted) : EXIT_SUCCESS);
}

}  // namespace

int main(int argc, char** argv) {
  Tessel::Platform::rememberArguments(argc, argv);
  Tessel::Platform::setupApplicationLogging("probe-server");
  launcherServerMain(reportMain);
}
