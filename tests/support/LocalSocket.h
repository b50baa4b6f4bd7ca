// Raw local sockets, for peers that violate the protocol. Any thread.
#pragma once

#include "platform/base/UniqueFd.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <cstdlib>
#include <string>
#include <utility>

namespace test_support {

inline std::pair<Tessel::Platform::UniqueFd, Tessel::Platform::UniqueFd> socketPair(
    int type = SOCK_STREAM) {
  int ends[2];
  if (::socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends) != 0) std::abort();
  return {Tessel::Platform::UniqueFd(ends[0]), Tessel::Platform::UniqueFd(ends[1])};
}

// A socket bound or connected to the path; empty on failure.
inline Tessel::Platform::UniqueFd socketAt(const std::string& path,
                                           decltype(::connect)* go = ::connect,
                                           int type = SOCK_STREAM) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  Tessel::Platform::UniqueFd socket(::socket(AF_UNIX, type | SOCK_CLOEXEC, 0));
  if (go(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    socket.reset();
  }
  return socket;
}

}  // namespace test_support
