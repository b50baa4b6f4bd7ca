// Files in memory.
#include "platform/sockets/MemoryFile.h"

#include <sys/mman.h>

#include <cerrno>

namespace Tessel::Platform {

UniqueFd sealedFile(std::string_view content) {
  UniqueFd file(::memfd_create("message", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  while (file && !content.empty()) {
    const ssize_t count = ::write(file.get(), content.data(), content.size());
    if (count < 0 && errno != EINTR) return UniqueFd();
    if (count > 0) content.remove_prefix(static_cast<std::size_t>(count));
  }
  if (file && ::fcntl(file.get(), F_ADD_SEALS, memoryFileSeals) != 0) return UniqueFd();
  return file;
}

}  // namespace Tessel::Platform
