// The requester's side of a served path. Any thread; one at a time per open.
#pragma once

#include "platform/base/UniqueFd.h"

#include <cstddef>
#include <cstdint>

namespace Tessel::Platform {

// Opens the path with the access mode of these flags of open(2). -1 with errno: ENOENT and
// ECONNREFUSED if it is not served, EACCES if this user has no permission.
UniqueFd openDevice(const char* path, int flags);

// Sends a command with `size` bytes of data and takes the answer's data, at most `answerSize` bytes
// of them. Waits at most `seconds`. 0, or a number of errno: the server's, or of what came between.
int controlDevice(int device, std::uint32_t command, const void* data, std::size_t size,
                  void* answer, std::size_t answerSize, int seconds = 30);

}  // namespace Tessel::Platform
