// Files in memory whose descriptor is sent to another process. Any thread.
#pragma once

#include "platform/base/UniqueFd.h"

#include <fcntl.h>

#include <string_view>

namespace Tessel::Platform {

// What nobody can do to such a file any more.
inline constexpr int memoryFileSeals = F_SEAL_SEAL | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE;

// A file with that content, which nobody can change any more. The position is at its end. Empty,
// with errno set, on failure.
UniqueFd sealedFile(std::string_view content);

}  // namespace Tessel::Platform
