// A client of a local server that sends raw bytes, also malformed ones. Main thread: waiting runs
// the main loop.
#pragma once

#include "platform/base/UniqueFd.h"
#include "tests/support/Waiting.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdint>
#include <string>
#include <string_view>

namespace test_support {

// Connects to a port of 127.0.0.1, blocking; empty if there is no listener.
inline Tessel::Platform::UniqueFd connectTo(int port) {
  Tessel::Platform::UniqueFd socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  if (::connect(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    socket.reset();
  }
  return socket;
}

inline std::string upgradeRequest(int port, const std::string& path,
                                  const std::string& headers = "") {
  return "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) +
         "\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
         "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n" +
         headers + "\r\n";
}

// A frame of a client; the mask is zero. The length field can be wrong.
inline std::string frame(unsigned int firstByte, std::string_view payload,
                         std::uint64_t toldLength = 0) {
  const std::uint64_t length = toldLength != 0 ? toldLength : payload.size();
  std::string text(1, static_cast<char>(firstByte));
  // The shortest encoding, as required.
  const int size = length < 126 ? 0 : length < 65536 ? 2 : 8;
  text += static_cast<char>(0x80 | (size == 0 ? length : size == 2 ? 126 : 127));
  for (int i = size; i-- > 0;) text += static_cast<char>((length >> (8 * i)) & 0xFF);
  return text.append(4, '\0').append(payload);
}
inline constexpr unsigned int wholeText = 0x81;
inline constexpr unsigned int firstOfText = 0x01;
inline constexpr unsigned int moreOfText = 0x00;

class HttpPeer {
 public:
  explicit HttpPeer(int port) : port_(port), socket_(connectTo(port)) {
    ::fcntl(socket_.get(), F_SETFL, O_NONBLOCK);
  }

  // The bytes received so far.
  std::string received;

  // Sends as much as the server accepts; false if it does not accept all, or is gone.
  bool send(std::string_view bytes) {
    return Tessel::Platform::Testing::iterateUntil([&] {
             const ssize_t count = ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
             if (count > 0) bytes.remove_prefix(static_cast<std::size_t>(count));
             failed_ = count < 0 && errno != EAGAIN;
             return bytes.empty() || failed_;
           }) &&
           !failed_;
  }
  bool waitFor(std::string_view text) {
    return Tessel::Platform::Testing::iterateUntil([&] {
      take();
      return received.find(text) != std::string::npos;
    });
  }
  bool waitForEnd() {
    return Tessel::Platform::Testing::iterateUntil([&] { return take(); });
  }
  // Requests a path; returns the answer with its headers.
  std::string get(const std::string& path) {
    send("GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port_) +
         "\r\nConnection: close\r\n\r\n");
    waitForEnd();
    return received;
  }
  bool upgrade(const std::string& path) {
    return send(upgradeRequest(port_, path)) && waitFor("HTTP/1.1 101") && waitFor("\r\n\r\n");
  }
  void close() { socket_.reset(); }

 private:
  // True at the end of the stream.
  bool take() {
    char chunk[65536];
    for (;;) {
      const ssize_t count = ::recv(socket_.get(), chunk, sizeof chunk, 0);
      if (count <= 0) return count == 0 || errno != EAGAIN;
      received.append(chunk, static_cast<std::size_t>(count));
    }
  }

  int port_;
  Tessel::Platform::UniqueFd socket_;
  bool failed_ = false;
};

// The address of a web view's inspector in the list of pages; "" for none.
inline std::string socketPathIn(const std::string& list, const std::string& handle) {
  const std::size_t end = list.find("/" + handle + "\"");
  const std::size_t start = list.rfind("/socket/", end);
  return end == std::string::npos || start == std::string::npos
             ? ""
             : list.substr(start, list.find('"', start) - start);
}

}  // namespace test_support
