// Keeps the program alive when a process of the engine, or a helper of its sandbox, ends during its
// start. Any thread.
//
// The engine waits for a new process to tell its number over a socket, and ends the program when
// the process has ended instead ("readPIDFromPeer"): one that was killed for want of memory takes
// everything along. So it does when the bus proxy beside a sandboxed process is killed, at any
// time. There is no setting for that. So the calls by which the engine learns of it are these,
// found before those of the libraries. The end of that socket reads as the number of a process that
// has ended: the engine goes on, finds the connection to it closed, and treats it like every
// process that has crashed. A proxy has always ended well: its process has no bus any more, and a
// page needs none.
#include "platform/base/Log.h"

#include <dlfcn.h>
#include <gio/gio.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <string_view>

using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;

namespace {

using ReceiveMessage = ssize_t (*)(int, msghdr*, int);

constexpr std::size_t longestAnnouncement = 64;
// Nobody else may get the number while the engine may send it a signal; by then it knows.
constexpr guint reapAfter = 30;  // seconds

bool isEngine(const void* caller) {
  Dl_info info{};
  return ::dladdr(caller, &info) != 0 && info.dli_fname &&
         std::string_view(info.dli_fname).find("libwebkit2gtk") != std::string_view::npos;
}

// Whether somebody waits here for one short message with its sender's credentials, and for no more.
bool waitsForNumber(int socket, const msghdr& message, std::size_t controlSize) {
  int passes = 0;
  socklen_t size = sizeof passes;
  return controlSize == CMSG_SPACE(sizeof(ucred)) && message.msg_control &&
         message.msg_iovlen == 1 && message.msg_iov[0].iov_len > 0 &&
         message.msg_iov[0].iov_len <= longestAnnouncement &&
         ::getsockopt(socket, SOL_SOCKET, SO_PASSCRED, &passes, &size) == 0 && passes != 0;
}

// The number of a process that has ended and has not been waited for: a signal to it does nothing.
pid_t endedProcess() {
  const pid_t pid = ::fork();
  if (pid == 0) ::_exit(0);
  if (pid > 0) {
    g_timeout_add_seconds(
        reapAfter,
        [](gpointer data) -> gboolean {
          ::waitpid(GPOINTER_TO_INT(data), nullptr, 0);
          return G_SOURCE_REMOVE;
        },
        GINT_TO_POINTER(pid));
  }
  return pid;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) ssize_t recvmsg(int socket, msghdr* message,
                                                                  int flags) {
  static const auto next = reinterpret_cast<ReceiveMessage>(::dlsym(RTLD_NEXT, "recvmsg"));
  const std::size_t controlSize = message ? message->msg_controllen : 0;
  const ssize_t count = next(socket, message, flags);
  if (count != 0 || !message || !waitsForNumber(socket, *message, controlSize) ||
      !isEngine(__builtin_return_address(0))) {
    return count;
  }
  const pid_t pid = endedProcess();
  if (pid < 0) return count;
  logAlways(LogError, "A process of the engine has ended while it was started.");
  message->msg_controllen = controlSize;
  cmsghdr* const header = CMSG_FIRSTHDR(message);
  header->cmsg_level = SOL_SOCKET;
  header->cmsg_type = SCM_CREDENTIALS;
  header->cmsg_len = CMSG_LEN(sizeof(ucred));
  const ucred credentials{pid, ::geteuid(), ::getegid()};
  std::memcpy(CMSG_DATA(header), &credentials, sizeof credentials);
  std::memset(message->msg_iov[0].iov_base, 0, message->msg_iov[0].iov_len);
  return static_cast<ssize_t>(message->msg_iov[0].iov_len);
}

// The engine's sandbox has each web process a bus proxy beside it.
extern "C" __attribute__((visibility("default"))) gboolean g_subprocess_wait_check_finish(
    GSubprocess* process, GAsyncResult* result, GError** error) {
  using WaitCheckFinish = gboolean (*)(GSubprocess*, GAsyncResult*, GError**);
  static const auto next =
      reinterpret_cast<WaitCheckFinish>(::dlsym(RTLD_NEXT, "g_subprocess_wait_check_finish"));
  GError* problem = nullptr;
  const gboolean good = next(process, result, &problem);
  // When the proxy is there, the engine gives up its wait for the end.
  if (good || g_error_matches(problem, G_IO_ERROR, G_IO_ERROR_CANCELLED) ||
      !isEngine(__builtin_return_address(0))) {
    if (problem) g_propagate_error(error, problem);
    return good;
  }
  logAlways(LogError, "The bus proxy of a web process has ended while it was started: %s",
            problem->message);
  g_error_free(problem);
  return TRUE;
}
