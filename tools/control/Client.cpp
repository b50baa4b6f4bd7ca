// A connection to the control of a running program. Main thread.
#include "tools/control/Client.h"

#include "platform/control/ControlSocket.h"
#include "platform/desktop/NavigatorJson.h"
#include "platform/os/Folders.h"
#include "platform/sockets/LocalSocket.h"
#include "platform/sockets/Peer.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>

using Tessel::Platform::ControlSocket;
using Tessel::Platform::String;
namespace NavigatorJson = Tessel::Platform::NavigatorJson;

namespace {

constexpr std::size_t longestLine = 1u << 20;

}  // namespace

std::vector<int> Client::programs() {
  std::vector<int> pids;
  const std::string folder = Tessel::Platform::runtimeFolder();
  if (folder.empty()) return pids;
  Tessel::Platform::removeStaleFiles(folder, ControlSocket::namePrefix);
  std::error_code unreadable;
  for (const auto& entry : std::filesystem::directory_iterator(folder, unreadable)) {
    const std::string name = entry.path().filename();
    if (!name.starts_with(ControlSocket::namePrefix)) continue;
    pids.push_back(std::atoi(name.c_str() + std::strlen(ControlSocket::namePrefix)));
  }
  std::sort(pids.begin(), pids.end());
  return pids;
}

std::string Client::connect(int pid) {
  const std::string path = ControlSocket::pathOf(pid);
  if (path.empty()) return std::string("The run-time folder: ") + std::strerror(errno);
  socket_ = Tessel::Platform::connectLocal(path, SOCK_STREAM);
  if (!socket_) return path + ": " + std::strerror(errno);
  if (Tessel::Platform::isTrustedPeer(Tessel::Platform::peerOf(socket_.get()))) return {};
  socket_.reset();
  return path + ": another user's process listens there";
}

std::string Client::send(const std::vector<std::string>& words) {
  std::string line =
      NavigatorJson::list(std::vector<String>(words.begin(), words.end())).toStdString();
  line.push_back('\n');
  std::string_view rest = line;
  while (!rest.empty()) {
    const ssize_t count = ::send(socket_.get(), rest.data(), rest.size(), MSG_NOSIGNAL);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return std::strerror(errno);
    rest.remove_prefix(static_cast<std::size_t>(count));
  }
  return {};
}

std::optional<std::string> Client::nextLine(int milliseconds) {
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
  for (;;) {
    const std::size_t end = pending_.find('\n');
    if (end != std::string::npos) {
      std::string line = pending_.substr(0, end);
      pending_.erase(0, end + 1);
      return line;
    }
    if (pending_.size() > longestLine) return std::nullopt;
    int left = -1;
    if (milliseconds >= 0) {
      const auto rest =
          std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
      if (rest <= 0) return std::nullopt;
      left = static_cast<int>(rest);
    }
    pollfd ready{socket_.get(), POLLIN, 0};
    if (::poll(&ready, 1, left) <= 0) continue;
    std::array<char, 4096> bytes;
    const ssize_t count = ::recv(socket_.get(), bytes.data(), bytes.size(), 0);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return std::nullopt;
    pending_.append(bytes.data(), static_cast<std::size_t>(count));
  }
}
