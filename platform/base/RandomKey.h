// Unpredictable keys from the kernel. Any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Tessel::Platform {

// Fills the key with 64 random bits; false, with the key unchanged, if the kernel cannot provide
// them.
bool randomKey(std::uint64_t* key);

// 128 random bits as 32 hexadecimal digits; "" if the kernel cannot provide them.
std::string randomToken();

// Constant-time comparison: the duration does not depend on where the texts differ.
bool sameToken(std::string_view a, std::string_view b);

}  // namespace Tessel::Platform
