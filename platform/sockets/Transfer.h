// Sending and receiving on local sockets without ever blocking or being killed by a signal, and the
// descriptors that go along. Any thread; one at a time per socket and direction.
#pragma once

#include "platform/base/UniqueFd.h"

#include <sys/types.h>
#include <sys/uio.h>

#include <cstddef>
#include <span>
#include <string_view>

namespace Tessel::Platform {

// Sends bytes, in one piece or several, and with a file a duplicate of it. The number of bytes that
// the socket has taken, all or none of them where it keeps the borders of packets; -1 with errno
// set.
ssize_t trySend(int socket, std::string_view bytes, int file = -1);
ssize_t trySend(int socket, std::span<const iovec> pieces, int file = -1);
// Whether errno says that there is no room at present. Too many descriptors on their way
// (ETOOMANYREFS) is a full socket by another name.
bool isFull(int error);

struct Received {
  ssize_t size = -1;      // bytes; 0 when the other end has gone, -1 with errno set
  UniqueFd file;          // close-on-exec; the last one, when there were several
  std::size_t files = 0;  // how many came, the others are closed
  bool isWhole = true;    // false when there was no room for some bytes or files
};
// One packet, or what there is of a stream.
Received tryReceive(int socket, std::span<char> room);

}  // namespace Tessel::Platform
