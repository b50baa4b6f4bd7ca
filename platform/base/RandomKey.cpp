// Random keys from the kernel. Any thread.
#include "platform/base/RandomKey.h"

#include <sys/random.h>

#include <array>
#include <cstdio>

namespace Tessel::Platform {

bool randomKey(std::uint64_t* key) {
  std::uint64_t bits = 0;
  // Fails rather than blocks while the kernel's pool is not initialised.
  if (getrandom(&bits, sizeof bits, GRND_NONBLOCK) != static_cast<ssize_t>(sizeof bits)) {
    return false;
  }
  *key = bits;
  return true;
}

std::string randomToken() {
  std::uint64_t keys[2] = {};
  if (!randomKey(&keys[0]) || !randomKey(&keys[1])) return {};
  std::array<char, 33> text;
  std::snprintf(text.data(), text.size(), "%016llx%016llx",
                static_cast<unsigned long long>(keys[0]), static_cast<unsigned long long>(keys[1]));
  return text.data();
}

bool sameToken(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  unsigned int difference = 0;
  for (std::size_t i = 0; i < a.size(); ++i) difference |= static_cast<unsigned char>(a[i] ^ b[i]);
  return difference == 0;
}

}  // namespace Tessel::Platform
