// The launcher server.
#include "LauncherServer.h"

#include "LauncherRequest.h"
#include "platform/Fork.h"
#include "platform/Log.h"
#include "platform/UniqueFd.h"
#include "platform/os/ProcessAbilities.h"
#include "platform/os/ResourceManager.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

namespace {

using namespace Tessel::Platform;

volatile std::sig_atomic_t notifyPid = -1;
// The same process: by its number a signal could reach a stranger who got it later.
volatile std::sig_atomic_t notifyProcess = -1;

// The request of a child, which keeps it for good.
std::unique_ptr<char[]> requestData;
std::size_t requestSize = 0;
bool done = false;

[[noreturn]] void giveUp(const char* what, int error) {
  logAlways(LogError, "%s: %s (%d)", what, std::strerror(error), error);
  std::exit(EXIT_FAILURE);
}

// Runs as a signal handler. Signals of children that end together may be one, and one child is
// reaped for it; the next signal then reaps an earlier one.
void onChildEnded(int) {
  const int before = errno;
  int status = 0;
  const pid_t child = ::wait3(&status, WNOHANG, nullptr);
  if (child > 0 && notifyPid != -1 && notifyProcess >= 0) {
    siginfo_t info{};
    info.si_signo = childEndedSignal;
    info.si_code = SI_QUEUE;
    info.si_pid = ::getpid();
    info.si_uid = ::getuid();
    info.si_value.sival_int = child;
    ::syscall(SYS_pidfd_send_signal, static_cast<int>(notifyProcess), childEndedSignal, &info, 0);
  }
  errno = before;
}

void becomeNotified(pid_t client) {
  notifyProcess = static_cast<int>(::syscall(SYS_pidfd_open, client, 0));
  if (notifyProcess >= 0) ::fcntl(notifyProcess, F_SETFD, FD_CLOEXEC);
  notifyPid = client;
}

// In the child: what the handler leaves for after the dispatch loop.
int takeRequest(const DeviceMessage& message) {
  std::signal(SIGCHLD, SIG_DFL);
  requestSize = message.declaredSize;
  requestData.reset(new (std::nothrow) char[requestSize]);
  if (!requestData) std::exit(-1);
  std::memcpy(requestData.get(), message.data, requestSize);
  done = true;
  // The server answers.
  return noReply;
}

int handleDeviceControl(const DeviceMessage& message, OpenContext& open) {
  const int status = iofunc_devctl_default(message, open);
  if (status != handledElsewhere) return status;
  if (!open.canWrite()) return EBADF;
  if (notifyPid == -1) becomeNotified(iofunc_client_info(open).pid);
  if (message.command != launchCommand || message.arrivedSize < sizeof(LauncherRequest) ||
      message.offset != 0 || message.declaredSize < sizeof(LauncherRequest) ||
      message.declaredSize > message.arrivedSize) {
    return ENOSYS;
  }
  const pid_t child = Tessel::Platform::forkUndisturbed();
  if (child < 0) return errno;
  if (child == 0) return takeRequest(message);
  const std::int32_t answer = child;
  message.context->reply(0, &answer, sizeof answer);
  return noReply;
}

void installChildEndHandler() {
  struct sigaction action {};
  action.sa_handler = onChildEnded;
  action.sa_flags = SA_RESTART | SA_NOCLDSTOP;
  ::sigemptyset(&action.sa_mask);
  ::sigaction(SIGCHLD, &action, nullptr);
}

// What is not open is what a child's streams could be confused with.
void openStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(stream, F_GETFD) < 0)
      ::open("/dev/null", stream == STDIN_FILENO ? O_RDONLY : O_WRONLY);
  }
}

bool isRestricted(const LauncherConfiguration& configuration) {
  return configuration.lowestUser > 0 || configuration.lowestGroup > 0;
}

// Root's rights but those that children are made with go.
void giveUpRights(const LauncherConfiguration& configuration) {
  if (isRestricted(configuration)) {
    const int error = procmgr_ability(
        0, {{AbilityNonRoot | AbilityAllow | AbilitySetUserId},
            {AbilityNonRoot | AbilityRange | AbilitySetUserId, configuration.lowestUser},
            {AbilityNonRoot | AbilityAllow | AbilitySetGroupId},
            {AbilityNonRoot | AbilityRange | AbilitySetGroupId, configuration.lowestGroup},
            {AbilityNonRoot | AbilityAllow | AbilitySignalOthers}});
    if (error != 0)
      giveUp("The server's rights cannot be restricted (it must start as root)", error);
  }
  const gid_t group = configuration.serverGroup;
  if (::setgroups(group > 0 ? 1 : 0, &group) != 0) {
    giveUp("The server's groups cannot be set", errno);
  }
  if (configuration.serverGroup > 0 && ::setgid(configuration.serverGroup) != 0) {
    giveUp("The server's group cannot be set", errno);
  }
  if (configuration.serverUser > 0) {
    if (const int error = switchUser(configuration.serverUser); error != 0) {
      giveUp("The server's user cannot be set", error);
    }
  }
}

}  // namespace

void launcherServerMain(ApplicationMain application, const LauncherConfiguration& configuration) {
  openStandardStreams();
  installChildEndHandler();
  std::unique_ptr<Dispatch> dispatch = dispatch_create();
  if (!dispatch) {
    const int error = errno;
    std::fputs("dispatch_create failed\n", stderr);
    giveUp("Nothing can be served", error);
  }
  ConnectFunctions connect{};
  IoFunctions io{};
  iofunc_func_init(connect, io);
  io.devctl = handleDeviceControl;
  PathAttributes attributes;
  iofunc_attr_init(attributes, S_IFNAM | 0600, configuration.serverUser, configuration.serverGroup);
  if (const int error =
          resmgr_attach(*dispatch, launcherPath, connect, io, attributes, largestLaunchMessage);
      error != 0) {
    std::fputs("resmgr_attach failed\n", stderr);
    giveUp(devicePath(launcherPath).c_str(), error);
  }
  auto context = std::make_unique<DispatchContext>(*dispatch);
  giveUpRights(configuration);
  logAlways(LogNotice, "Waiting for launch requests on %s", devicePath(launcherPath).c_str());

  // Only in a child does it end.
  while (!done) {
    if (!dispatch_block(*context)) giveUp("No more requests can be read", errno);
    dispatch_handler(*context);
  }
  context.reset();
  resmgr_detach(*dispatch);
  dispatch.reset();
  if (notifyProcess >= 0) ::close(notifyProcess);
  runLaunchedProcess(requestData.get(), requestSize, isRestricted(configuration), application);
}
