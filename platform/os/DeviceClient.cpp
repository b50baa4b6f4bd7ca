// The requester's side of a served path.
#include "platform/os/DeviceClient.h"

#include "platform/os/DeviceProtocol.h"
#include "platform/sockets/LocalSocket.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <chrono>

namespace Tessel::Platform {

namespace {

int transact(int device, DeviceMessageType type, std::uint32_t command, const void* data,
             std::size_t size, void* answer, std::size_t answerSize,
             std::chrono::milliseconds limit) {
  setTimeLimit(device, SO_SNDTIMEO, limit);
  setTimeLimit(device, SO_RCVTIMEO, limit);
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
  UniqueFd device = connectLocal(devicePath(path), SOCK_SEQPACKET);
  const int error =
      device ? transact(device.get(), DeviceMessageType::Open, static_cast<std::uint32_t>(flags),
                        nullptr, 0, nullptr, 0, connectLimit)
             : (errno == EAGAIN ? ETIMEDOUT : errno);
  if (error != 0) device.reset();
  errno = error;
  return device;
}

int controlDevice(int device, std::uint32_t command, const void* data, std::size_t size,
                  void* answer, std::size_t answerSize, int seconds) {
  return transact(device, DeviceMessageType::DeviceControl, command, data, size, answer, answerSize,
                  std::chrono::seconds(seconds));
}

}  // namespace Tessel::Platform
