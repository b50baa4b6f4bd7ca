// Local sockets with a path in the file system.
#include "platform/sockets/LocalSocket.h"

#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <utility>

namespace Tessel::Platform {

namespace {

// Empty, with errno set, if the path is not valid for a socket.
std::optional<sockaddr_un> addressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.empty() || path.size() >= sizeof address.sun_path) {
    errno = path.empty() ? ENOENT : ENAMETOOLONG;
    return std::nullopt;
  }
  path.copy(address.sun_path, path.size());
  return address;
}

bool connectTo(const sockaddr_un& address, int socket) {
  int result = -1;
  do {
    result = ::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

}  // namespace

bool setTimeLimit(int socket, int option, std::chrono::milliseconds limit) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(limit);
  const timeval time{seconds.count(), std::chrono::microseconds(limit - seconds).count()};
  return ::setsockopt(socket, SOL_SOCKET, option, &time, sizeof time) == 0;
}

UniqueFd connectLocal(const std::string& path, int type, std::chrono::milliseconds limit) {
  const bool waits = limit.count() > 0;
  const auto address = addressOf(path);
  if (!address) return UniqueFd();
  UniqueFd socket(::socket(AF_UNIX, type | SOCK_CLOEXEC | (waits ? 0 : SOCK_NONBLOCK), 0));
  if (!socket) return socket;
  // connect(2) waits for room in the listener's queue up to the send timeout.
  if ((waits && !setTimeLimit(socket.get(), SO_SNDTIMEO, limit)) ||
      !connectTo(*address, socket.get()) ||
      (waits && !setTimeLimit(socket.get(), SO_SNDTIMEO, {}))) {
    socket.reset();
  }
  return socket;
}

LocalListener::LocalListener(const std::string& path, int type, const ListenOptions& options) {
  const auto address = addressOf(path);
  if (!address) return;
  UniqueFd socket(::socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!socket) return;
  if (options.replaces) ::unlink(path.c_str());
  const auto& wanted = options.attributes;
  const mode_t before = wanted ? ::umask(0777) : 0;
  const int bound =
      ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&*address), sizeof *address);
  if (wanted) ::umask(before);
  if (bound != 0) return;
  socket_ = std::move(socket);
  path_ = path;
  owner_ = ::getpid();
  if ((wanted && (::chown(path.c_str(), wanted->uid, wanted->gid) != 0 ||
                  ::chmod(path.c_str(), wanted->mode & 07777) != 0)) ||
      ::listen(socket_.get(), options.backlog) != 0) {
    const int error = errno;
    close();
    errno = error;
  }
}

LocalListener& LocalListener::operator=(LocalListener&& other) noexcept {
  if (this == &other) return *this;
  close();
  socket_ = std::move(other.socket_);
  path_ = std::move(other.path_);
  owner_ = other.owner_;
  return *this;
}

bool LocalListener::moveTo(const std::string& path) {
  if (std::rename(path_.c_str(), path.c_str()) != 0) return false;
  path_ = path;
  return true;
}

void LocalListener::close() {
  if (socket_ && owner_ == ::getpid()) ::unlink(path_.c_str());
  socket_.reset();
}

}  // namespace Tessel::Platform
