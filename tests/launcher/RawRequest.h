// Launch requests byte by byte, and a client that sends any bytes. Any thread.
#pragma once

#include "tests/support/LocalSocket.h"

#include <sys/time.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

namespace test_support {

inline std::string word(std::uint32_t value) {
  return {reinterpret_cast<const char*>(&value), sizeof value};
}

// The fields of a valid request, for tests to corrupt.
struct RawRequest {
  std::uint32_t version = 1;
  std::uint32_t priority = 0;
  std::uint32_t uid = 1234;
  std::uint32_t gid = 2345;
  std::optional<std::uint32_t> groupCount;
  std::optional<std::uint32_t> argumentCount;
  std::vector<std::uint32_t> groups;
  std::vector<std::string> arguments{"probe"};
  std::vector<std::string> environment;
  std::string directory;

  std::string bytes() const {
    std::string text = word(version) + std::string(16, '\x55') + word(priority) + word(uid) +
                       word(gid) +
                       word(groupCount.value_or(static_cast<std::uint32_t>(groups.size()))) +
                       word(argumentCount.value_or(static_cast<std::uint32_t>(arguments.size()))) +
                       word(static_cast<std::uint32_t>(environment.size()));
    for (const std::uint32_t group : groups) text += word(group);
    for (const std::string& argument : arguments) text += argument + '\0';
    for (const std::string& variable : environment) text += variable + '\0';
    if (version > 1) text += directory + '\0';
    return text;
  }
};

// One message on the wire: type 1 opens with flags, type 2 is a command with data.
inline std::string rawMessage(std::uint16_t type, std::uint32_t command, const std::string& data,
                              std::optional<std::uint32_t> declared = {},
                              std::uint16_t combineLength = 0) {
  std::string text(reinterpret_cast<const char*>(&type), 2);
  text.append(reinterpret_cast<const char*>(&combineLength), 2);
  return text + word(command) + word(declared.value_or(static_cast<std::uint32_t>(data.size()))) +
         word(0) + data;
}

struct RawReply {
  std::int32_t status = -1;  // -1: none came
  std::string data;
};

class RawClient {
 public:
  explicit RawClient(const std::string& path) : socket_(socketAt(path, ::connect, SOCK_SEQPACKET)) {
    const timeval limit{20, 0};
    ::setsockopt(socket_.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  }

  bool send(const std::string& packet) {
    return ::send(socket_.get(), packet.data(), packet.size(), MSG_NOSIGNAL) >= 0;
  }
  // Reads the available answers.
  void drain() {
    char bytes[256];
    while (::recv(socket_.get(), bytes, sizeof bytes, MSG_DONTWAIT) > 0) {
    }
  }
  RawReply exchange(const std::string& packet) {
    if (!send(packet)) return {};
    char bytes[256];
    const ssize_t count = ::recv(socket_.get(), bytes, sizeof bytes, 0);
    RawReply reply;
    std::uint32_t size = 0;
    if (count < 8) return reply;
    std::memcpy(&reply.status, bytes, 4);
    std::memcpy(&size, bytes + 4, 4);
    reply.data.assign(bytes + 8, static_cast<std::size_t>(count) - 8);
    if (reply.data.size() != size) reply.status = -2;
    return reply;
  }
  std::int32_t open(std::uint32_t flags) { return exchange(rawMessage(1, flags, "")).status; }

 private:
  Tessel::Platform::UniqueFd socket_;
};

}  // namespace test_support
