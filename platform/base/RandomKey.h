// Unpredictable keys from the kernel. Any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Tessel::Platform {

// Fills the key with 64 random bits; false, and the key unchanged, when the kernel has none.
bool randomKey(std::uint64_t* key);

// 128 random bits as 32 hexadecimal digits; "" when the kernel has none.
std::string randomToken();

// How long it takes does not tell where the texts differ.
bool sameToken(std::string_view a, std::string_view b);

}  // namespace Tessel::Platform
