// What crosses the socket of a served path: the headers of messages and replies, in the machine's
// byte order. One packet holds one message. docs/launcher.md describes the exchange.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace Tessel::Platform {

enum class DeviceMessageType : std::uint16_t {
  Open = 1,           // the command is the flags of open(2); of them only the access counts
  DeviceControl = 2,  // the command's data follows
};

struct DeviceMessageHeader {
  DeviceMessageType type;
  std::uint16_t combineLength;  // bytes of this message when another follows in the packet, else 0
  std::uint32_t command;
  std::uint32_t size;  // bytes of data, as the sender declares them
  std::uint32_t reserved;
};
static_assert(sizeof(DeviceMessageHeader) == 16);

// The answer to a packet; `size` bytes of data follow, 0 on an error.
struct DeviceReplyHeader {
  std::int32_t status;  // 0 or a number of errno
  std::uint32_t size;
};
static_assert(sizeof(DeviceReplyHeader) == 8);

// Commands that every path takes unless its server does. Data: 32 bits, the flags of the open.
constexpr std::uint32_t devctlGetFlags = 0x40040101;
constexpr std::uint32_t devctlSetFlags = 0x80040102;  // O_APPEND and O_NONBLOCK can change

// The socket that serves a path: the path below TESSEL_RESMGR_ROOT, when that is set.
std::string devicePath(const std::string& path);

}  // namespace Tessel::Platform
