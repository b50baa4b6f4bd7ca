// Keys from the kernel's random source. Any thread.
#include "platform/RandomKey.h"

#include <sys/random.h>

namespace Tessel::Platform {

bool randomKey(std::uint64_t* key) {
  std::uint64_t bits = 0;
  // Refuses rather than waits while the kernel has not gathered enough yet.
  if (getrandom(&bits, sizeof bits, GRND_NONBLOCK) != static_cast<ssize_t>(sizeof bits)) {
    return false;
  }
  *key = bits;
  return true;
}

}  // namespace Tessel::Platform
