// The user at the other end of a loopback connection. Any thread.
#pragma once

#include <netinet/in.h>
#include <sys/types.h>

#include <optional>

namespace Tessel::Platform {

// The owner of the socket at the other end of a connection within this machine, from the kernel's
// tables. Nothing if it is not listed there: the other end is closed, or in another network
// namespace.
std::optional<uid_t> userOfPeer(const sockaddr_in& peer, const sockaddr_in& own);

}  // namespace Tessel::Platform
