// Sends and receives data and descriptors on local sockets.
#include "platform/sockets/Transfer.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace Tessel::Platform {

namespace {

constexpr int sendFlags = MSG_NOSIGNAL | MSG_DONTWAIT;
// More descriptors than a well-behaved peer sends, so that an excess is detected.
constexpr std::size_t mostFiles = 4;

// Takes the descriptors of a message; of several, all but the last are closed.
void takeFiles(msghdr& message, Received& received) {
  for (cmsghdr* part = CMSG_FIRSTHDR(&message); part; part = CMSG_NXTHDR(&message, part)) {
    if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS) continue;
    const std::size_t inPart = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
    for (std::size_t i = 0; i < inPart; ++i) {
      int descriptor = -1;
      std::memcpy(&descriptor, CMSG_DATA(part) + i * sizeof(int), sizeof descriptor);
      received.file.reset(descriptor);
      ++received.files;
    }
  }
}

}  // namespace

bool isFull(int error) {
  return error == EAGAIN || error == ENOBUFS || error == ETOOMANYREFS;
}

ssize_t trySend(int socket, std::string_view bytes, int file) {
  if (file >= 0) {
    const iovec whole{const_cast<char*>(bytes.data()), bytes.size()};  // only read
    return trySend(socket, {&whole, 1}, file);
  }
  ssize_t count = -1;
  do {
    count = ::send(socket, bytes.data(), bytes.size(), sendFlags);
  } while (count < 0 && errno == EINTR);
  return count;
}

ssize_t trySend(int socket, std::span<const iovec> pieces, int file) {
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof file)> control{};
  msghdr message{};
  message.msg_iov = const_cast<iovec*>(pieces.data());  // only read
  message.msg_iovlen = pieces.size();
  if (file >= 0) {
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    cmsghdr* const rights = CMSG_FIRSTHDR(&message);
    rights->cmsg_level = SOL_SOCKET;
    rights->cmsg_type = SCM_RIGHTS;
    rights->cmsg_len = CMSG_LEN(sizeof file);
    std::memcpy(CMSG_DATA(rights), &file, sizeof file);
  }
  ssize_t count = -1;
  do {
    count = ::sendmsg(socket, &message, sendFlags);
  } while (count < 0 && errno == EINTR);
  return count;
}

Received tryReceive(int socket, std::span<char> room) {
  iovec bytes{room.data(), room.size()};
  alignas(cmsghdr) std::array<char, CMSG_SPACE(mostFiles * sizeof(int))> control{};
  msghdr message{};
  message.msg_iov = &bytes;
  message.msg_iovlen = 1;
  message.msg_control = control.data();
  message.msg_controllen = control.size();
  Received received;
  do {
    received.size = ::recvmsg(socket, &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
  } while (received.size < 0 && errno == EINTR);
  if (received.size < 0) return received;
  takeFiles(message, received);
  received.isWhole = (message.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) == 0;
  return received;
}

}  // namespace Tessel::Platform
