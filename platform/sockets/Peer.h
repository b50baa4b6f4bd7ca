// Who is at the other end of a local socket, as the kernel knows it: whoever connected, or for a
// client whoever listens. Any thread.
#pragma once

#include <sys/socket.h>
#include <unistd.h>

#include <optional>

namespace Tessel::Platform {

// Nothing when the socket has no such end.
inline std::optional<ucred> peerOf(int socket) {
  ucred peer{};
  socklen_t size = sizeof peer;
  if (::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return std::nullopt;
  return peer;
}

// Whether that end is of this process's user, or of root, who can do everything to him anyway.
inline bool isTrustedPeer(const std::optional<ucred>& peer) {
  return peer && (peer->uid == ::geteuid() || peer->uid == 0);
}

}  // namespace Tessel::Platform
