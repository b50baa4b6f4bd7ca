// The log devices as files.
#include "platform/os/LogDevices.h"

#include "platform/base/UniqueFd.h"
#include "platform/os/Folders.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>

namespace Tessel::Platform {

std::string logDevice(const std::string& name) {
  constexpr off_t largest = 1 << 20;
  std::string device = "/dev/slog2/" + name;
  const std::string runtime = runtimeFolder();
  if (runtime.empty()) return device;
  const std::string folder = runtime + "/slog2";
  if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) return device;
  std::string path = folder + "/" + name;
  struct stat status {};
  if (::stat(path.c_str(), &status) == 0 && status.st_size > largest) {
    std::rename(path.c_str(), (path + ".old").c_str());
  }
  const UniqueFd file(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
  return file ? path : device;
}

}  // namespace Tessel::Platform
