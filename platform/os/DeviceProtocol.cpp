// Where served paths are.
#include "platform/os/DeviceProtocol.h"

#include <cstdlib>

namespace Tessel::Platform {

std::string devicePath(const std::string& path) {
  const char* root = std::getenv("TESSEL_RESMGR_ROOT");
  return root ? root + path : path;
}

}  // namespace Tessel::Platform
