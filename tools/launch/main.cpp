// pagehost-launch: requests the launch of an application from the launcher server. Main thread.
#include "platform/options/CommandLine.h"
#include "platform/os/DeviceClient.h"
#include "platform/os/DeviceProtocol.h"
#include "src/LauncherRequest.h"
#include "tools/launch/LaunchOptions.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

using Tessel::Platform::UniqueFd;

int fail(int status, const std::string& problem) {
  std::fprintf(stderr, "pagehost-launch: %s\n", problem.c_str());
  return status;
}

std::string whyNot(int error) {
  const std::string path = Tessel::Platform::devicePath(launcherPath);
  switch (error) {
    case ENOENT:
    case ECONNREFUSED:
      return "No launcher server is at " + path +
             ". Start pagehost-server as root, or set TESSEL_RESMGR_ROOT to what it was started "
             "with.";
    case EACCES:
      return "You may not launch applications at " + path +
             ": the user of the server may, and root.";
    default:
      return path + ": " + std::strerror(error) + ".";
  }
}

// Waits for the end of the process, which may have ended already, and returns its status as a shell
// does: 128 plus the signal number if it was killed by a signal.
int waitFor(std::int32_t pid) {
  const UniqueFd process(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
  if (!process && errno != ESRCH) {
    return fail(EXIT_FAILURE,
                std::string("The process cannot be waited for: ") + std::strerror(errno) + ".");
  }
  pollfd ended{process.get(), POLLIN, 0};
  while (process && ::poll(&ended, 1, -1) < 0 && errno == EINTR) {
  }
  // A new connection: the server closes idle ones, and the process may run for long.
  const UniqueFd device = Tessel::Platform::openDevice(launcherPath, O_RDONLY);
  LaunchEnd end{};
  const int error = device ? Tessel::Platform::controlDevice(device.get(), launchEndCommand, &pid,
                                                             sizeof pid, &end, sizeof end)
                           : errno;
  if (error != 0 || end.ended == 0) {
    return fail(EXIT_FAILURE,
                "Process " + std::to_string(pid) +
                    " has ended, but its server does not know how: " + std::strerror(error) + ".");
  }
  if (WIFSIGNALED(end.status)) {
    std::fprintf(stderr, "pagehost-launch: process %d was ended by signal %d\n", pid,
                 WTERMSIG(end.status));
    return 128 + WTERMSIG(end.status);
  }
  std::fprintf(stderr, "pagehost-launch: process %d has ended with status %d\n", pid,
               WEXITSTATUS(end.status));
  return WEXITSTATUS(end.status);
}

}  // namespace

int main(int argc, char** argv) {
  // The server sends a signal to its first requester when a child ends; unblocked, it would kill
  // this process.
  sigset_t ends;
  ::sigemptyset(&ends);
  ::sigaddset(&ends, childEndedSignal);
  ::sigprocmask(SIG_BLOCK, &ends, nullptr);

  LaunchOptions options;
  std::string problem;
  if (!readOptions(argc, argv, options, problem)) {
    Tessel::Platform::endMisused("pagehost-launch", problem);
  }
  const std::vector<char> request = requestOf(options, problem);
  if (request.empty()) return fail(Tessel::Platform::misusedStatus, problem);

  const UniqueFd device = Tessel::Platform::openDevice(launcherPath, O_RDWR);
  if (!device) return fail(EXIT_FAILURE, whyNot(errno));
  std::int32_t pid = 0;
  const int error = Tessel::Platform::controlDevice(device.get(), launchCommand, request.data(),
                                                    request.size(), &pid, sizeof pid);
  if (error != 0) return fail(EXIT_FAILURE, whyNot(error));
  std::printf("%d\n", pid);
  std::fflush(stdout);
  return options.wait ? waitFor(pid) : EXIT_SUCCESS;
}
