// Unpredictable keys from the kernel. Any thread.
#pragma once

#include <cstdint>

namespace Tessel::Platform {

// Fills the key with 64 random bits; false, and the key unchanged, when the kernel has none.
bool randomKey(std::uint64_t* key);

}  // namespace Tessel::Platform
