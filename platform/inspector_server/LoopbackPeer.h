// Who has connected over the loopback device. Any thread.
#pragma once

#include <netinet/in.h>
#include <sys/types.h>

#include <optional>

namespace Tessel::Platform {

// The user whose socket is at the other end of a connection inside this machine, by the kernel's
// tables. Nothing when the tables do not say: the other end is closed, or in another network
// namespace.
std::optional<uid_t> userOfPeer(const sockaddr_in& peer, const sockaddr_in& own);

}  // namespace Tessel::Platform
