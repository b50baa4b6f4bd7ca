// Descriptors that come along with a datagram. Any thread.
#include "platform/os/PassedFile.h"

#include <cstring>

namespace Tessel::Platform {

UniqueFd takePassedFile(msghdr& message, std::size_t& count) {
  UniqueFd file;
  count = 0;
  for (cmsghdr* part = CMSG_FIRSTHDR(&message); part; part = CMSG_NXTHDR(&message, part)) {
    if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS) continue;
    const std::size_t inPart = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
    for (std::size_t i = 0; i < inPart; ++i) {
      int descriptor = -1;
      std::memcpy(&descriptor, CMSG_DATA(part) + i * sizeof(int), sizeof descriptor);
      file.reset(descriptor);
      ++count;
    }
  }
  return file;
}

}  // namespace Tessel::Platform
