// Descriptors that come along with a datagram. Any thread.
#pragma once

#include "platform/base/UniqueFd.h"

#include <sys/socket.h>

namespace Tessel::Platform {

// The last descriptor that came with a received message, and how many there were; the others are
// closed.
UniqueFd takePassedFile(msghdr& message, std::size_t& count);

}  // namespace Tessel::Platform
