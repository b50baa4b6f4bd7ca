// Whether the engine's sandbox works here. Main thread.
#include "platform/os/PageSandbox.h"

#include "platform/base/UniqueFd.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace Tessel::Platform {

namespace {

// Where the engine looks for them.
constexpr const char* bubblewrap = "/usr/bin/bwrap";
constexpr const char* busProxy = "/usr/bin/xdg-dbus-proxy";

constexpr int probeLimit = 5000;  // milliseconds
// The result of a probe that was killed from outside: not a refusal by the system.
constexpr int mostProbes = 3;
// Of a probe that says nothing because it was forked and never became bubblewrap.
constexpr int notStarted = 127;

struct Probe {
  pid_t pid = -1;
  int error = 0;
};

Probe& probe() {
  static Probe started;
  return started;
}

Probe spawnProbe() {
  // The same kinds of namespaces and mounts as the engine's, around something that only ends.
  const char* const arguments[] = {bubblewrap,
                                   "--die-with-parent",
                                   "--unshare-all",
                                   "--ro-bind",
                                   "/",
                                   "/",
                                   "--proc",
                                   "/proc",
                                   "--dev",
                                   "/dev",
                                   "--",
                                   bubblewrap,
                                   "--version",
                                   nullptr};
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
    ::posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_WRONLY, 0);
  }
  Probe started;
  started.error = ::posix_spawn(&started.pid, bubblewrap, &actions, nullptr,
                                const_cast<char**>(arguments), environ);
  if (started.error != 0) started.pid = -1;
  ::posix_spawn_file_actions_destroy(&actions);
  return started;
}

// "" on success; wasKilled if it was killed from outside, which proves nothing.
std::string resultOf(const Probe& started, bool& wasKilled) {
  wasKilled = false;
  if (started.pid < 0) return std::string(bubblewrap) + ": " + std::strerror(started.error);
  const UniqueFd process(static_cast<int>(::syscall(SYS_pidfd_open, started.pid, 0)));
  pollfd ended{process.get(), POLLIN, 0};
  int ready = 0;
  if (process) {
    do {
      ready = ::poll(&ended, 1, probeLimit);
    } while (ready < 0 && errno == EINTR);
  }
  if (ready <= 0) ::kill(started.pid, SIGKILL);
  int status = 0;
  pid_t reaped = 0;
  do {
    reaped = ::waitpid(started.pid, &status, 0);
  } while (reaped < 0 && errno == EINTR);
  if (ready <= 0) return "bubblewrap does not come to an end";
  if (reaped == started.pid && WIFEXITED(status) && WEXITSTATUS(status) == 0) return {};
  if (reaped == started.pid && WIFEXITED(status) && WEXITSTATUS(status) == notStarted) {
    return std::string(bubblewrap) + " cannot be run";
  }
  if (reaped == started.pid && WIFSIGNALED(status)) {
    wasKilled = true;
    return std::string("bubblewrap is ended by ") + ::strsignal(WTERMSIG(status));
  }
  return "the system refuses bubblewrap namespaces of its own";
}

std::string bubblewrapProblem() {
  static const std::string problem = [] {
    for (const char* needed : {bubblewrap, busProxy}) {
      if (::access(needed, X_OK) != 0) return std::string(needed) + " is missing";
    }
    probeSandbox();
    bool wasKilled = false;
    std::string result = resultOf(probe(), wasKilled);
    for (int probes = 1; wasKilled && probes < mostProbes; ++probes) {
      result = resultOf(spawnProbe(), wasKilled);
    }
    return result;
  }();
  return problem;
}

// The engine takes no folder of these into its sandbox.
std::string hiddenAmong(const std::vector<std::string>& folders) {
  for (const std::string& folder : folders) {
    for (const char* hidden : {"/dev/", "/proc/", "/sys/"}) {
      if (folder.starts_with(hidden)) return folder + " cannot be seen in it";
    }
  }
  return {};
}

std::string wishedSandbox() {
  const char* wish = std::getenv(sandboxVariable);
  return wish && *wish ? wish : "auto";
}

bool hasLandlock() {
  return ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) > 0;
}

}  // namespace

const char* textOf(PageSandbox sandbox) {
  switch (sandbox) {
    case PageSandbox::Bubblewrap:
      return "bubblewrap";
    case PageSandbox::Landlock:
      return "landlock";
    default:
      return "none";
  }
}

void probeSandbox() {
  if (wishedSandbox() != "off" && probe().pid < 0 && probe().error == 0) probe() = spawnProbe();
}

bool choosePageSandbox(const std::vector<std::string>& folders, PageSandbox& sandbox,
                       std::string& why) {
  const std::string wish = wishedSandbox();
  sandbox = PageSandbox::None;
  if (wish == "off") return true;
  if (wish != "on" && wish != "auto") {
    why = std::string(sandboxVariable) + " and --sandbox are on, off or auto, not " + wish + ".";
    return false;
  }
  why = hiddenAmong(folders);
  if (why.empty()) why = bubblewrapProblem();
  if (why.empty()) {
    sandbox = PageSandbox::Bubblewrap;
    return true;
  }
  if (wish == "on") {
    why = "Web pages cannot be put into a sandbox: " + why +
          ". Install bubblewrap and xdg-dbus-proxy and allow user namespaces, or do not insist: "
          "--sandbox=auto.";
    return false;
  }
  if (hasLandlock()) sandbox = PageSandbox::Landlock;
  return true;
}

}  // namespace Tessel::Platform
