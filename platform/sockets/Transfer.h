// Sends and receives data and descriptors on local sockets, without blocking and without SIGPIPE.
// Any thread; one at a time per socket and direction.
#pragma once

#include "platform/base/UniqueFd.h"

#include <sys/types.h>
#include <sys/uio.h>

#include <cstddef>
#include <span>
#include <string_view>

namespace Tessel::Platform {

// Sends bytes, in one piece or several, and optionally a duplicate of a file. Returns the number of
// bytes sent, for packet sockets all or none; -1 with errno set on failure.
ssize_t trySend(int socket, std::string_view bytes, int file = -1);
ssize_t trySend(int socket, std::span<const iovec> pieces, int file = -1);
// Whether this errno means that the socket is full for now. This includes ETOOMANYREFS, too many
// descriptors in flight.
bool isFull(int error);

struct Received {
  ssize_t size = -1;      // bytes; 0 if the peer is gone, -1 with errno set on failure
  UniqueFd file;          // close-on-exec; the last of several
  std::size_t files = 0;  // number received; all but the last are closed
  bool isWhole = true;    // false if bytes or files were truncated
};
// Receives one packet, or the available data of a stream.
Received tryReceive(int socket, std::span<char> room);

}  // namespace Tessel::Platform
