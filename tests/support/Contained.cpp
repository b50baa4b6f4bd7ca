// contained COMMAND...: runs a test and ends all its processes when it ends, for any reason. An
// orphan would keep open the pipe of the reader of the test's output. One thread.
//
// With PAGEHOST_TEST_DISPLAYS, a folder with a file named after each display, the test gets one of
// these exclusively: concurrent tests would otherwise click into each other's windows.
//
// Orphans become its children, so that killing its process tree, as ctest does at a time limit,
// includes them.
#include "tests/support/Processes.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds limit{10};  // for the kernel to end killed processes

pid_t test = -1;

// Locks a display's file until this program exits. False if all are taken.
bool takeDisplay(const char* folder) {
  for (const auto& file : std::filesystem::directory_iterator(folder)) {
    const int lock = ::open(file.path().c_str(), O_RDONLY | O_CLOEXEC);
    if (::flock(lock, LOCK_EX | LOCK_NB) == 0) {
      return ::setenv("DISPLAY", file.path().filename().c_str(), 1) == 0;
    }
    ::close(lock);
  }
  return false;
}

// The test ends, and then this program by itself.
void passOn(int signal) {
  ::kill(test, signal);
}

// The exit status of the test. Orphans are reaped as they end, since tests wait for that.
int waitForTest() {
  for (;;) {
    int status = 0;
    const pid_t ended = ::waitpid(-1, &status, 0);
    if (ended == test) return status;
    if (ended < 0 && errno != EINTR) return -1;
  }
}

// False if a process is left at the limit.
bool endOrphans() {
  const auto end = Clock::now() + limit;
  for (;;) {
    pid_t reaped = 0;
    do reaped = ::waitpid(-1, nullptr, WNOHANG);
    while (reaped > 0);
    if (reaped < 0 && errno == ECHILD) return true;
    if (Clock::now() >= end) return false;
    // Their children are reparented to this process, and killed next.
    for (const pid_t orphan : test_support::childrenOf(::getpid())) ::kill(orphan, SIGKILL);
    ::usleep(1000);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "Usage: contained COMMAND [ARGUMENT...]\n");
    return 2;
  }
  const char* displays = std::getenv("PAGEHOST_TEST_DISPLAYS");
  if (displays && !takeDisplay(displays)) {
    std::fprintf(stderr, "There is no display that no other test has.\n");
    return 1;
  }
  ::prctl(PR_SET_CHILD_SUBREAPER, 1);
  const pid_t self = ::getpid();
  test = ::fork();
  if (test == 0) {
    // Ends the test even if this program dies.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() == self) ::execvp(argv[1], argv + 1);
    std::fprintf(stderr, "%s: %s\n", argv[1], std::strerror(errno));
    ::_exit(127);
  }
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, passOn);
  const int status = waitForTest();
  if (!endOrphans()) {
    std::fprintf(stderr, "The test has left processes that cannot be ended.\n");
    return 1;
  }
  if (WIFEXITED(status)) return WEXITSTATUS(status);
  std::fprintf(stderr, "The test was ended by signal %d (%s).\n", WTERMSIG(status),
               ::strsignal(WTERMSIG(status)));
  return 128 + WTERMSIG(status);
}
