// Viewers: programs of this kind that this one has opened. Main thread.
#include "platform/invocation/Viewers.h"

#include "platform/base/FdSource.h"
#include "platform/base/UniqueFd.h"
#include "platform/control/ControlSocket.h"
#include "platform/desktop/NavigatorJson.h"
#include "platform/sockets/LocalSocket.h"
#include "platform/sockets/Transfer.h"

#include <glib.h>
#include <sys/prctl.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <memory>

namespace Tessel::Platform {

namespace {

constexpr std::chrono::milliseconds patience{5000};
constexpr std::size_t longestAnswer = 4096;
constexpr std::size_t longestName = 64;
constexpr std::size_t mostCalls = 32;

// A viewer whose opener is gone has nobody left to close it.
void endWithParent(gpointer) {
  ::prctl(PR_SET_PDEATHSIG, SIGTERM);
}

}  // namespace

// One message on its way, until the control of the other side has answered.
struct Viewers::Call {
  Viewers* owner;
  String viewer;
  UniqueFd socket;
  FdSource source = {};

  void finish(const String& problem) {
    const std::unique_ptr<Call> own(this);
    owner->calls_.erase(this);
    owner->relayed_(viewer, problem);
  }

  void wait() {
    const auto onAnswer = [this](short found) {
      if (!found) return finish("The other side does not answer");
      std::array<char, longestAnswer> answer;
      const ssize_t count = ::recv(socket.get(), answer.data(), answer.size(), 0);
      if (count < 0 && errno == EAGAIN) return;
      const std::string_view text(answer.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
      finish(text.starts_with("{\"ok\"") ? String() : String("The other side refused"));
    };
    source.watch(socket.get(), POLLIN, onAnswer, {.limit = patience});
  }
};

Viewers::Viewers(Stopped stopped, Relayed relayed, std::string program)
    : stopped_(std::move(stopped)), relayed_(std::move(relayed)), program_(std::move(program)) {}

Viewers::~Viewers() {
  for (const Call* call : calls_) delete call;
  for (const auto& [name, viewer] : viewers_) {
    g_source_remove(viewer.watch);
    ::kill(viewer.pid, SIGTERM);
  }
}

String Viewers::open(const String& viewer, const String& uri, const String& request) {
  if (viewer.isEmpty() || viewer.length() > longestName || viewer == opener) {
    return "That is no name for a viewer";
  }
  if (viewers_.contains(viewer)) return "There is a viewer of that name";
  if (viewers_.size() >= most) return "There are too many viewers";
  if (uri.view().starts_with("-")) return "The uri is no address";

  char** environment = g_get_environ();
  const auto set = [&](const char* name, const char* value) {
    environment = g_environ_setenv(environment, name, value, TRUE);
  };
  set(openerVariable, std::to_string(::getpid()).c_str());
  set(nameVariable, viewer.utf8());
  set(requestVariable, request.utf8());
  // An address of the caller's must not become a page that has native functions.
  for (const char* name : {"CHROME_URL", "PAGEHOST_CHROME_FOLDER", "PAGEHOST_DEV"}) {
    environment = g_environ_unsetenv(environment, name);
  }
  std::string program = program_;
  std::string name = "pagehost";
  std::string address = uri.toStdString();
  // The role of a process is its name, so that is given beside the file.
  std::array<char*, 4> words{program.data(), name.data(), address.data(), nullptr};
  GPid pid = 0;
  GError* error = nullptr;
  const auto flags =
      static_cast<GSpawnFlags>(G_SPAWN_DO_NOT_REAP_CHILD | G_SPAWN_FILE_AND_ARGV_ZERO);
  const bool started = g_spawn_async(nullptr, words.data(), environment, flags, endWithParent,
                                     nullptr, &pid, &error);
  g_strfreev(environment);
  if (!started) {
    String problem = error->message;
    g_error_free(error);
    return problem;
  }
  const guint watch = g_child_watch_add(
      pid,
      [](GPid gone, gint, gpointer data) {
        auto* self = static_cast<Viewers*>(data);
        g_spawn_close_pid(gone);
        for (auto each = self->viewers_.begin(); each != self->viewers_.end(); ++each) {
          if (each->second.pid != gone) continue;
          const String stopped = each->first;
          self->viewers_.erase(each);
          self->stopped_(stopped);
          return;
        }
      },
      this);
  viewers_[viewer] = {pid, watch};
  return String();
}

void Viewers::close(const String& viewer) {
  const auto found = viewers_.find(viewer);
  if (found != viewers_.end()) ::kill(found->second.pid, SIGTERM);
}

int Viewers::pidOf(const String& viewer, String& calledThere) const {
  if (viewer == opener) {
    const char* pid = g_getenv(openerVariable);
    const char* name = g_getenv(nameVariable);
    calledThere = name;
    return pid ? std::atoi(pid) : 0;
  }
  calledThere = opener;
  const auto found = viewers_.find(viewer);
  return found == viewers_.end() ? 0 : found->second.pid;
}

void Viewers::relay(const String& viewer, const String& message) {
  String calledThere;
  const int pid = pidOf(viewer, calledThere);
  if (pid <= 0) return relayed_(viewer, "There is no such viewer");
  std::string line =
      NavigatorJson::list({"raise", "onViewerRelay", calledThere, message}).toStdString();
  line.push_back('\n');
  if (line.size() > NavigatorJson::mostBytes) return relayed_(viewer, "The message is too long");
  if (calls_.size() >= mostCalls) return relayed_(viewer, "Too many messages are on their way");
  UniqueFd socket = connectLocal(ControlSocket::pathOf(pid), SOCK_STREAM, {});
  if (!socket || trySend(socket.get(), line) != static_cast<ssize_t>(line.size())) {
    return relayed_(viewer, "The other side does not listen");
  }
  Call* call = *calls_.insert(new Call{this, viewer, std::move(socket)}).first;
  call->wait();
}

}  // namespace Tessel::Platform
