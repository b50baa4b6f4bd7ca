// The user at the other end of a loopback connection. Any thread.
#include "platform/inspector_server/LoopbackPeer.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

namespace Tessel::Platform {

namespace {

// In the format of /proc/net/tcp. The other end may be an IPv6 socket.
std::string textOf(const sockaddr_in& address, bool isMapped) {
  std::array<char, 48> text;
  std::snprintf(text.data(), text.size(), "%s%08X:%04X", isMapped ? "0000000000000000FFFF0000" : "",
                address.sin_addr.s_addr, ntohs(address.sin_port));
  return text.data();
}

}  // namespace

std::optional<uid_t> userOfPeer(const sockaddr_in& peer, const sockaddr_in& own) {
  for (const bool isMapped : {false, true}) {
    const std::string from = textOf(peer, isMapped);
    const std::string to = textOf(own, isMapped);
    std::ifstream table(isMapped ? "/proc/net/tcp6" : "/proc/net/tcp");
    for (std::string line; std::getline(table, line);) {
      std::istringstream fields(line);
      std::string local;
      std::string remote;
      std::string skipped;  // the line's number, state, queues, timer, retransmissions and probes
      uid_t user = 0;
      unsigned long socket = 0;
      fields >> skipped >> local >> remote >> skipped >> skipped >> skipped >> skipped >> user >>
          skipped >> socket;
      // A socket that no process has open any more is listed as root's.
      if (local == from && remote == to && fields && socket != 0) return user;
    }
  }
  return std::nullopt;
}

}  // namespace Tessel::Platform
