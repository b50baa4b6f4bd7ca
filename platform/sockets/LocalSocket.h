// Local sockets that are found by a path: listening there, and connecting to whoever listens. Any
// thread; one at a time per listener.
//
// All of them are close-on-exec. A path has 107 bytes at most (ENAMETOOLONG), and is not empty
// (ENOENT): that would be an address outside the file system, which every user's processes can
// take.
#pragma once

#include "platform/base/UniqueFd.h"

#include <sys/socket.h>
#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>

namespace Tessel::Platform {

// For who has no better reason to wait shorter or longer: a server that does not accept anybody for
// so long has stopped.
inline constexpr std::chrono::milliseconds connectLimit{10'000};

// A socket of that type (SOCK_STREAM, SOCK_SEQPACKET) that is connected to whoever listens at the
// path. While the listener's queue is full it waits for room, at most so long, and the socket
// blocks from then on; with no limit at all nothing ever blocks. Empty, with errno set, when there
// is none: ENOENT and ECONNREFUSED when nobody listens, EAGAIN when there is no room.
UniqueFd connectLocal(const std::string& path, int type,
                      std::chrono::milliseconds limit = connectLimit);
// How long a socket may block: to send and connect (SO_SNDTIMEO), or to receive (SO_RCVTIMEO); for
// ever with 0. False, with errno set, when it cannot be told.
bool setTimeLimit(int socket, int option, std::chrono::milliseconds limit);

// Mode and owner of a path.
struct PathAttributes {
  mode_t mode = 0;
  uid_t uid = 0;
  gid_t gid = 0;
};

struct ListenOptions {
  int backlog = SOMAXCONN;  // connections that wait to be accepted
  // Takes the place of what is at the path already: for who knows that it was left by a process
  // that has died.
  bool replaces = false;
  // Nobody else gets in before they are set; without, they are what the process gives to files.
  std::optional<PathAttributes> attributes = std::nullopt;
};

// A listening socket and its path, which goes with it where the process that made it destroys it,
// not in one that was forked meanwhile. It does not block.
class LocalListener {
 public:
  LocalListener() = default;
  // Empty, with errno set, when it cannot listen; EADDRINUSE when there is something at the path.
  LocalListener(const std::string& path, int type, const ListenOptions& options = {});
  LocalListener(LocalListener&&) noexcept = default;
  LocalListener& operator=(LocalListener&& other) noexcept;
  ~LocalListener() { close(); }

  explicit operator bool() const { return bool(socket_); }
  int fd() const { return socket_.get(); }
  const std::string& path() const { return path_; }
  // Puts it in the place of whatever is at that path of the same file system. False, with errno
  // set.
  bool moveTo(const std::string& path);

 private:
  void close();

  UniqueFd socket_;
  std::string path_;
  pid_t owner_ = -1;
};

}  // namespace Tessel::Platform
