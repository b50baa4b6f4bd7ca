// The process that forks child processes for web views.
#include "ipc/ChildLauncher.h"

#include "platform/base/Log.h"
#include "platform/os/Folders.h"
#include "platform/os/Fork.h"
#include "platform/os/Process.h"
#include "platform/os/SandboxFiles.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>

extern const char* __progname;

using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::LogNotice;
using Tessel::Platform::processName;
using Tessel::Platform::setupApplicationLogging;
using Tessel::Platform::showProcessName;
using Tessel::Platform::startNamedDetachedThread;

int launchPipeFd = -1;

namespace {

// One per process, for its lifetime.
pid_t theLauncher = 0;

[[noreturn]] void endProcess(int status) {
  logAlways(LogError, "Exit %s: %d", processName(), status);
  Tessel::Platform::removeRegisteredFiles();
  ::_exit(status);
}

// False at the end of the pipe, with errno 0, and on errors.
bool readRecord(int pipe, LaunchRecord& record) {
  auto* bytes = reinterpret_cast<char*>(&record);
  for (std::size_t have = 0; have < sizeof record;) {
    const ssize_t count = ::read(pipe, bytes + have, sizeof record - have);
    if (count > 0) {
      have += static_cast<std::size_t>(count);
    } else if (count == 0) {
      errno = 0;
      return false;
    } else if (errno != EINTR && errno != EAGAIN) {
      return false;
    }
  }
  return true;
}

[[noreturn]] void childLauncherLoop(int pipe, int mainPid, const std::string& programName,
                                    ChildWebViewMain childMain) {
  for (;;) {
    LaunchRecord record{};
    if (!readRecord(pipe, record)) {
      logAlways(LogError,
                "Error reading launch data from child launcher pipe - ok during browser shutdown: "
                "%d (%s)",
                errno, std::strerror(errno));
      ::close(pipe);
      // The other end has ended, whichever way: a program that was killed cannot clean up.
      Tessel::Platform::removeFilesOf(mainPid);
      Tessel::Platform::removeSandboxFilesOf(mainPid);
      endProcess(1);
    }
    const pid_t child = ::fork();
    if (child < 0) {
      logAlways(LogError, "Error forking child webview: %d (%s)", errno, std::strerror(errno));
      ::close(pipe);
      endProcess(1);
    }
    if (child > 0) continue;
    showProcessName("pagehost-webview");
    setupApplicationLogging(programName.c_str());
    ::close(pipe);
    std::signal(SIGCHLD, SIG_DFL);
    endProcess(childMain(record.groupId, mainPid, record.mainChannelId, record.webEngineChannelId,
                         record.handshakeKey));
  }
}

void monitorChildLauncher(void* pid) {
  const pid_t launcher = *static_cast<const pid_t*>(pid);
  while (::waitpid(launcher, nullptr, 0) < 0) {
    if (errno == EINTR) continue;
    logAlways(LogNotice, "Child launcher monitor failed: %d (%s)", errno, std::strerror(errno));
    return;
  }
  logAlways(LogNotice, "Child launcher exited");
}

}  // namespace

pid_t childLauncherPid() {
  return theLauncher;
}

bool spawnChildLauncher(ChildWebViewMain childMain) {
  int ends[2] = {-1, -1};
  if (::pipe2(ends, O_CLOEXEC) != 0) {
    logAlways(LogError, "Error creating child launcher input pipe: %d (%s)", errno,
              std::strerror(errno));
    return false;
  }
  const pid_t mainPid = ::getpid();
  const std::string programName = __progname;
  const pid_t launcher = Tessel::Platform::forkUndisturbed();
  if (launcher < 0) {
    logAlways(LogError, "Error forking child launcher: %d (%s)", errno, std::strerror(errno));
    ::close(ends[0]);
    ::close(ends[1]);
    return false;
  }
  if (launcher == 0) {
    // A process group of its own: terminating it with its children must not affect a shell or the
    // main process.
    ::setpgid(0, 0);
    showProcessName("webkit-child-launcher");
    setupApplicationLogging(programName.c_str());
    // Forked children are reaped by the kernel.
    std::signal(SIGCHLD, SIG_IGN);
    ::close(ends[1]);
    childLauncherLoop(ends[0], mainPid, programName, childMain);
  }
  ::close(ends[0]);
  launchPipeFd = ends[1];
  theLauncher = launcher;
  if (!startNamedDetachedThread("child-launcher-monitor", monitorChildLauncher, &theLauncher)) {
    // Only reports the launcher's exit; children are launched without it.
    logAlways(LogNotice, "Child launcher monitor failed: %d (%s)", errno, std::strerror(errno));
  }
  return true;
}
