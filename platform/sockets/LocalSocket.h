// Listening on and connecting to local sockets with a path in the file system. Any thread; one at a
// time per listener.
//
// All sockets are close-on-exec. A path has at most 107 bytes (ENAMETOOLONG) and must not be empty
// (ENOENT): that would be an abstract address, which processes of any user could bind.
#pragma once

#include "platform/base/UniqueFd.h"

#include <sys/socket.h>
#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>

namespace Tessel::Platform {

// The default timeout: a server that has not accepted a connection for so long hangs.
inline constexpr std::chrono::milliseconds connectLimit{10'000};

// A socket of that type (SOCK_STREAM, SOCK_SEQPACKET), connected to the listener at the path. With
// a limit, waits at most that long for room in the listener's queue, and the returned socket is
// blocking; without one, nothing ever blocks. Empty, with errno set, on failure: ENOENT or
// ECONNREFUSED if there is no listener, EAGAIN if its queue is full.
UniqueFd connectLocal(const std::string& path, int type,
                      std::chrono::milliseconds limit = connectLimit);
// Sets how long a socket may block: for sending and connecting (SO_SNDTIMEO) or for receiving
// (SO_RCVTIMEO); 0 for no limit. False, with errno set, on failure.
bool setTimeLimit(int socket, int option, std::chrono::milliseconds limit);

// Mode and owner of a path.
struct PathAttributes {
  mode_t mode = 0;
  uid_t uid = 0;
  gid_t gid = 0;
};

struct ListenOptions {
  int backlog = SOMAXCONN;  // connections that wait to be accepted
  // Replaces an existing file at the path: for callers that know it was left by a dead process.
  bool replaces = false;
  // Applied before other users can connect; without them the process's defaults (umask) apply.
  std::optional<PathAttributes> attributes = std::nullopt;
};

// A non-blocking listening socket and its path. The destructor removes the path, but only in the
// process that created it, not in a fork.
class LocalListener {
 public:
  LocalListener() = default;
  // Empty, with errno set, if it cannot listen; EADDRINUSE if the path exists.
  LocalListener(const std::string& path, int type, const ListenOptions& options = {});
  LocalListener(LocalListener&&) noexcept = default;
  LocalListener& operator=(LocalListener&& other) noexcept;
  ~LocalListener() { close(); }

  explicit operator bool() const { return bool(socket_); }
  int fd() const { return socket_.get(); }
  const std::string& path() const { return path_; }
  // Renames it to a path on the same file system, replacing an existing file. False, with errno
  // set, on failure.
  bool moveTo(const std::string& path);

 private:
  void close();

  UniqueFd socket_;
  std::string path_;
  pid_t owner_ = -1;
};

}  // namespace Tessel::Platform
