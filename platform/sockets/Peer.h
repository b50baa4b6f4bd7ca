// The credentials of the peer of a local socket as recorded by the kernel: of the connecting
// process, or for a client of the listening one. Any thread.
#pragma once

#include <sys/socket.h>
#include <unistd.h>

#include <optional>

namespace Tessel::Platform {

// Empty if the socket has no peer.
inline std::optional<ucred> peerOf(int socket) {
  ucred peer{};
  socklen_t size = sizeof peer;
  if (::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return std::nullopt;
  return peer;
}

// Whether the peer runs as this process's user, or as root, who has full access anyway.
inline bool isTrustedPeer(const std::optional<ucred>& peer) {
  return peer && (peer->uid == ::geteuid() || peer->uid == 0);
}

}  // namespace Tessel::Platform
