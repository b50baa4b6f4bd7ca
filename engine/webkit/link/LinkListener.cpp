// The socket that the modules of web processes connect to. Main thread.
#include "engine/webkit/link/LinkListener.h"

#include "engine/webkit/link/Frame.h"
#include "platform/base/Log.h"
#include "platform/base/RandomKey.h"
#include "platform/os/Folders.h"

#include <glib-unix.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

using link_protocol::FrameHeader;
using link_protocol::FrameKind;
using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::UniqueFd;

namespace {

constexpr const char* namePrefix = "pages-";
constexpr std::size_t tokenLength = 32;
// Without descriptors or memory a connection stays pending, and the source would fire at once.
constexpr guint pauseInterval = 500;  // milliseconds
// Limits how often refused connections are logged.
constexpr gint64 complaintInterval = G_USEC_PER_SEC;

UniqueFd listenAt(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) {
    errno = ENAMETOOLONG;
    return UniqueFd();
  }
  std::memcpy(address.sun_path, path.c_str(), path.size());
  UniqueFd listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (listener.get() < 0 ||
      ::bind(listener.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      ::listen(listener.get(), SOMAXCONN) != 0) {
    return UniqueFd();
  }
  return listener;
}

}  // namespace

// A connection that has not sent a complete greeting yet.
struct LinkListener::Unidentified {
  Unidentified(LinkListener& itsListener, UniqueFd itsSocket, pid_t itsPid)
      : listener(itsListener),
        socket(std::move(itsSocket)),
        pid(itsPid),
        readSource(g_unix_fd_add(socket.get(), G_IO_IN, onGreeting, this)) {
    limitSource = g_timeout_add(
        static_cast<guint>(listener.greetingLimit_.count()),
        [](gpointer data) -> gboolean {
          auto* const self = static_cast<Unidentified*>(data);
          self->listener.forget(*self);
          return G_SOURCE_CONTINUE;
        },
        this);
  }
  ~Unidentified() {
    g_source_remove(readSource);
    g_source_remove(limitSource);
  }
  Unidentified(const Unidentified&) = delete;
  Unidentified& operator=(const Unidentified&) = delete;

  LinkListener& listener;
  UniqueFd socket;
  const pid_t pid;
  const guint readSource;
  guint limitSource = 0;
  // Reads the greeting only: the bytes after it are left to the link.
  std::array<char, sizeof(FrameHeader) + tokenLength> greeting{};
  std::size_t received = 0;
};

LinkListener::LinkListener(const std::string& parent, Welcome welcome,
                           std::chrono::milliseconds greetingLimit)
    : welcome_(std::move(welcome)), greetingLimit_(greetingLimit) {
  Tessel::Platform::removeStaleFiles(parent, namePrefix);
  std::string pattern = parent + "/" + namePrefix + std::to_string(::getpid()) + "-XXXXXX";
  if (!::mkdtemp(pattern.data())) return;
  folder_ = pattern;
  address_ = folder_ + "/link";
  listener_ = listenAt(address_);
  if (isListening()) watch();
  Tessel::Platform::removeAtExit(address_);
  Tessel::Platform::removeAtExit(folder_);
}

LinkListener::~LinkListener() {
  if (source_ != 0) g_source_remove(source_);
  unidentified_.clear();
  if (isListening()) ::unlink(address_.c_str());
  if (!folder_.empty()) ::rmdir(folder_.c_str());
}

std::string LinkListener::issueToken() {
  std::string token = Tessel::Platform::randomToken();
  if (token.empty()) return token;
  if (tokens_.size() == mostTokens) tokens_.erase(tokens_.begin());
  return tokens_.emplace_back(std::move(token));
}

void LinkListener::watch() {
  source_ = g_unix_fd_add(listener_.get(), G_IO_IN, onConnection, this);
}

void LinkListener::pause() {
  source_ = g_timeout_add(
      pauseInterval,
      [](gpointer data) -> gboolean {
        static_cast<LinkListener*>(data)->watch();
        return G_SOURCE_REMOVE;
      },
      this);
}

void LinkListener::forget(const Unidentified& stranger) {
  unidentified_.remove_if([&](const Unidentified& each) { return &each == &stranger; });
}

void LinkListener::complain(pid_t peer, const char* why) {
  const gint64 now = g_get_monotonic_time();
  if (complained_ != 0 && now - complained_ < complaintInterval) return;
  complained_ = now;
  logAlways(LogError, "Process %d is refused as a web process: %s.", static_cast<int>(peer), why);
}

gboolean LinkListener::onConnection(gint fd, GIOCondition, gpointer data) {
  auto* self = static_cast<LinkListener*>(data);
  UniqueFd socket(::accept4(fd, nullptr, nullptr, SOCK_CLOEXEC));
  if (socket.get() < 0) {
    if (errno == EAGAIN || errno == EINTR || errno == ECONNABORTED) return G_SOURCE_CONTINUE;
    logAlways(LogError, "No web process can connect for now: %s", std::strerror(errno));
    self->pause();
    return G_SOURCE_REMOVE;
  }
  ucred peer{};
  socklen_t size = sizeof peer;
  if (::getsockopt(socket.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0 ||
      (peer.uid != ::geteuid() && peer.uid != 0)) {
    self->complain(peer.pid, "it is another user's");
    return G_SOURCE_CONTINUE;
  }
  if (self->unidentified_.size() == mostUnidentified) self->unidentified_.pop_front();
  self->unidentified_.emplace_back(*self, std::move(socket), peer.pid);
  return G_SOURCE_CONTINUE;
}

gboolean LinkListener::onGreeting(gint fd, GIOCondition, gpointer data) {
  auto* const stranger = static_cast<Unidentified*>(data);
  LinkListener& self = stranger->listener;
  const ssize_t count = ::recv(fd, stranger->greeting.data() + stranger->received,
                               stranger->greeting.size() - stranger->received, MSG_DONTWAIT);
  if (count < 0 && (errno == EAGAIN || errno == EINTR)) return G_SOURCE_CONTINUE;
  if (count > 0) {
    stranger->received += static_cast<std::size_t>(count);
    if (stranger->received < stranger->greeting.size()) return G_SOURCE_CONTINUE;
    FrameHeader header;
    std::memcpy(&header, stranger->greeting.data(), sizeof header);
    const std::string_view shown(stranger->greeting.data() + sizeof header, tokenLength);
    const auto issued = std::ranges::find_if(self.tokens_, [&](const std::string& token) {
      return Tessel::Platform::sameToken(token, shown);
    });
    if (header.kind == static_cast<std::uint32_t>(FrameKind::Hello) && header.size == tokenLength &&
        issued != self.tokens_.end()) {
      const std::string token = std::move(*issued);
      self.tokens_.erase(issued);
      UniqueFd socket = std::move(stranger->socket);
      const pid_t pid = stranger->pid;
      self.forget(*stranger);
      self.welcome_(std::move(socket), pid, token);
      return G_SOURCE_CONTINUE;
    }
    self.complain(stranger->pid, "it shows no token that is valid");
  }
  self.forget(*stranger);
  return G_SOURCE_CONTINUE;
}
