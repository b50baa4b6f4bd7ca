// The launcher server.
#include "src/LauncherServer.h"

#include "platform/base/Log.h"
#include "platform/base/UniqueFd.h"
#include "platform/os/Fork.h"
#include "platform/os/ProcessAbilities.h"
#include "platform/os/ResourceManager.h"
#include "src/LauncherRequest.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <limits>
#include <memory>
#include <new>
#include <set>
#include <string>
#include <utility>

namespace {

using namespace Tessel::Platform;

// The first requester, by pid and by pidfd: a reused pid must not notify a stranger.
pid_t notifyPid = -1;
UniqueFd notifyProcess;

// Eventfd, written by the SIGCHLD handler, read by the loop.
UniqueFd childEnds;

// The launched processes; of ended ones, the exit statuses of the last few.
struct Launched {
  std::set<pid_t> running;
  std::deque<std::pair<pid_t, int>> ended;
};
Launched launched;

// The request of a child, kept for its lifetime.
std::unique_ptr<char[]> requestData;
std::size_t requestSize = 0;
bool done = false;

[[noreturn]] void giveUp(const char* what, int error) {
  logAlways(LogError, "%s: %s (%d)", what, std::strerror(error), error);
  std::exit(EXIT_FAILURE);
}

// A signal handler, which may run on any thread of the process, as the engine's allocator has one.
// Children are reaped by the loop, and never during a fork: children that forkUndisturbed() takes
// back are not launched processes.
void onChildEnded(int) {
  const int before = errno;
  ::eventfd_write(childEnds.get(), 1);
  errno = before;
}

void tellNotified(pid_t child) {
  if (!notifyProcess) return;
  siginfo_t info{};
  info.si_signo = childEndedSignal;
  info.si_code = SI_QUEUE;
  info.si_pid = ::getpid();
  info.si_uid = ::getuid();
  info.si_value.sival_int = child;
  ::syscall(SYS_pidfd_send_signal, notifyProcess.get(), childEndedSignal, &info, 0);
}

void logEnd(pid_t child, int status) {
  if (WIFSIGNALED(status)) {
    logAlways(LogNotice, "Process %d was ended by signal %d", static_cast<int>(child),
              WTERMSIG(status));
  } else {
    logAlways(LogNotice, "Process %d ended with status %d", static_cast<int>(child),
              WEXITSTATUS(status));
  }
}

void reapChildren() {
  eventfd_t ignored = 0;
  ::eventfd_read(childEnds.get(), &ignored);
  int status = 0;
  for (pid_t child = 0; (child = ::wait3(&status, WNOHANG, nullptr)) > 0;) {
    logEnd(child, status);
    launched.running.erase(child);
    launched.ended.emplace_back(child, status);
    if (launched.ended.size() > rememberedEnds) launched.ended.pop_front();
    tellNotified(child);
  }
}

void becomeNotified(pid_t client) {
  notifyProcess.reset(static_cast<int>(::syscall(SYS_pidfd_open, client, 0)));
  notifyPid = client;
}

int handleEndQuery(const DeviceMessage& message) {
  std::int32_t pid = 0;
  if (message.arrivedSize < sizeof pid) return EINVAL;
  std::memcpy(&pid, message.data, sizeof pid);
  reapChildren();  // up to date for callers that have seen it end
  LaunchEnd answer{};
  if (!launched.running.contains(pid)) {
    const auto found = std::find_if(launched.ended.rbegin(), launched.ended.rend(),
                                    [pid](const auto& end) { return end.first == pid; });
    if (found == launched.ended.rend()) return ESRCH;
    answer = {1, found->second};
  }
  message.context->reply(0, &answer, sizeof answer);
  return noReply;
}

// The valid part of the name; the rest is not logged.
std::string requestedName(const DeviceMessage& message, std::int32_t groups) {
  constexpr std::size_t longest = 64;
  const auto* const text = reinterpret_cast<const char*>(message.data);
  const std::size_t start =
      sizeof(LauncherRequest) + sizeof(gid_t) * static_cast<std::size_t>(std::max(groups, 0));
  if (start >= message.declaredSize) return {};
  return {text + start, ::strnlen(text + start, std::min(longest, message.declaredSize - start))};
}

void noteLaunch(pid_t child, const DeviceMessage& message, const OpenContext& open) {
  launched.running.insert(child);
  LauncherRequest request{};
  std::memcpy(&request, message.data, sizeof request);
  logAlways(LogNotice, "Process %d, \"%s\", is launched for user %d: process %d of user %u asks",
            static_cast<int>(child), requestedName(message, request.ngroups).c_str(), request.uid,
            static_cast<int>(iofunc_client_info(open).pid), iofunc_client_info(open).uid);
}

// In the child: stores the request for use after the dispatch loop.
int takeRequest(const DeviceMessage& message) {
  std::signal(SIGCHLD, SIG_DFL);
  launched = {};  // contains other users' processes
  requestSize = message.declaredSize;
  requestData.reset(new (std::nothrow) char[requestSize]);
  if (!requestData) std::exit(-1);
  std::memcpy(requestData.get(), message.data, requestSize);
  done = true;
  // The parent answers.
  return noReply;
}

int handleDeviceControl(const DeviceMessage& message, OpenContext& open) {
  const int status = iofunc_devctl_default(message, open);
  if (status != handledElsewhere) return status;
  if (message.command == launchEndCommand && message.offset == 0) return handleEndQuery(message);
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
  noteLaunch(child, message, open);
  const std::int32_t answer = child;
  message.context->reply(0, &answer, sizeof answer);
  return noReply;
}

void installChildEndHandler() {
  childEnds.reset(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  if (!childEnds) giveUp("The ends of processes cannot be watched", errno);
  struct sigaction action {};
  action.sa_handler = onChildEnded;
  action.sa_flags = SA_RESTART | SA_NOCLDSTOP;
  ::sigemptyset(&action.sa_mask);
  ::sigaction(SIGCHLD, &action, nullptr);
}

// Opens missing standard streams, so that no other descriptor gets their numbers.
void openStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(stream, F_GETFD) < 0)
      ::open("/dev/null", stream == STDIN_FILENO ? O_RDONLY : O_WRONLY);
  }
}

// Inherited descriptors must not reach the children.
void closeInherited() {
  ::close_range(STDERR_FILENO + 1, std::numeric_limits<unsigned int>::max(), 0);
}

bool isRestricted(const LauncherConfiguration& configuration) {
  return configuration.lowestUser > 0 || configuration.lowestGroup > 0;
}

// Drops root's rights, except those needed to launch children.
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
  closeInherited();
  installChildEndHandler();
  std::unique_ptr<Dispatch> dispatch = dispatch_create();
  if (!dispatch || !dispatch->watchAlso(childEnds.get(), reapChildren)) {
    const int error = errno;
    std::fputs("dispatch_create failed\n", stderr);
    giveUp("The dispatch loop cannot be set up", error);
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

  // Leaves the loop in a child only.
  while (!done) {
    if (!dispatch_block(*context)) giveUp("No more requests can be read", errno);
    dispatch_handler(*context);
  }
  context.reset();
  resmgr_detach(*dispatch);
  dispatch.reset();
  notifyProcess.reset();
  childEnds.reset();
  runLaunchedProcess(requestData.get(), requestSize, isRestricted(configuration), application);
}
