// The requester's side of a served path.
#include "platform/os/DeviceClient.h"

#include "platform/os/DeviceProtocol.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace Tessel::Platform {

namespace {

int transact(int device, DeviceMessageType type, std::uint32_t command, const void* data,
             std::size_t size, void* answer, std::size_t answerSize) {
  DeviceMessageHeader header{type, 0, command, static_cast<std::uint32_t>(size), 0};
  std::array<iovec, 2> out{
      {{&header, sizeof header}, {const_cast<void*>(data), size}}};  // only read
  msghdr message{};
  message.msg_iov = out.data();
  message.msg_iovlen = out.size();
  if (::sendmsg(device, &message, MSG_NOSIGNAL) < 0) return errno;

  DeviceReplyHeader reply{};
  std::array<iovec, 2> in{{{&reply, sizeof reply}, {answer, answerSize}}};
  message.msg_iov = in.data();
  const ssize_t count = ::recvmsg(device, &message, 0);
  if (count < 0) return errno == EAGAIN ? ETIMEDOUT : errno;
  if (count == 0) return ECONNRESET;
  if (count < static_cast<ssize_t>(sizeof reply)) return EBADMSG;
  if (reply.status != 0) return reply.status;
  return static_cast<std::size_t>(count) - sizeof reply == answerSize ? 0 : EBADMSG;
}

}  // namespace

UniqueFd openDevice(const char* path, int flags) {
  const std::string socketPath = devicePath(path);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (socketPath.size() >= sizeof address.sun_path) {
    errno = ENAMETOOLONG;
    return {};
  }
  socketPath.copy(address.sun_path, socketPath.size());
  UniqueFd device(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
  if (!device) return device;
  // Of connecting, too: a server whose queue is full would hold us.
  const timeval limit{10, 0};
  ::setsockopt(device.get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
  ::setsockopt(device.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  int error = 0;
  if (::connect(device.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    error = errno == EAGAIN ? ETIMEDOUT : errno;
  } else {
    error = transact(device.get(), DeviceMessageType::Open, static_cast<std::uint32_t>(flags),
                     nullptr, 0, nullptr, 0);
  }
  if (error != 0) device.reset();
  errno = error;
  return device;
}

int controlDevice(int device, std::uint32_t command, const void* data, std::size_t size,
                  void* answer, std::size_t answerSize, int seconds) {
  const timeval limit{seconds, 0};
  ::setsockopt(device, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
  ::setsockopt(device, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  return transact(device, DeviceMessageType::DeviceControl, command, data, size, answer,
                  answerSize);
}

}  // namespace Tessel::Platform
