// The control. Main thread.
#include "platform/control/ControlSocket.h"

#include "platform/base/FdSource.h"
#include "platform/base/Log.h"
#include "platform/desktop/NavigatorHandler.h"
#include "platform/desktop/NavigatorJson.h"
#include "platform/desktop/Notifications.h"
#include "platform/os/Folders.h"
#include "platform/sockets/Peer.h"
#include "platform/sockets/Transfer.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <utility>

namespace Tessel::Platform {

namespace {

using NavigatorJson::Writer;

constexpr std::size_t mostClients = 16;
constexpr int backlog = 16;

std::string answer(const std::optional<String>& problem) {
  return NavigatorJson::text([&](Writer& writer) {
           writer.StartObject();
           if (problem) {
             NavigatorJson::writeMember(writer, "error", *problem);
           } else {
             writer.Key("ok");
             writer.Bool(true);
           }
           writer.EndObject();
         })
      .toStdString();
}

std::string requestLine(const char* name, const std::vector<String>& arguments) {
  return NavigatorJson::text([&](Writer& writer) {
           writer.StartObject();
           NavigatorJson::writeMember(writer, "request", String(name));
           NavigatorJson::writeMember(writer, "arguments", arguments);
           writer.EndObject();
         })
      .toStdString();
}

bool isOurs(int socket) {
  const auto peer = peerOf(socket);
  if (isTrustedPeer(peer)) return true;
  logAlways(LogError, "The control socket refuses process %d of user %u.",
            peer ? static_cast<int>(peer->pid) : -1, peer ? peer->uid : 0);
  return false;
}

}  // namespace

class ControlSocket::Client {
 public:
  Client(ControlSocket& owner, UniqueFd socket) : owner_(owner), socket_(std::move(socket)) {
    source_.watch(socket_.get(), POLLIN, [this](short) {
      if (!read()) owner_.remove(this);
    });
  }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  bool watches() const { return watches_; }

  // What does not go out at once never will: a client that does not read is not waited for, and is
  // found gone at its next event.
  void send(std::string line) {
    line.push_back('\n');
    if (trySend(socket_.get(), line) == static_cast<ssize_t>(line.size())) return;
    watches_ = false;
    ::shutdown(socket_.get(), SHUT_RDWR);
  }

 private:
  // False when the client is done with.
  bool read() {
    std::array<char, 4096> bytes;
    const ssize_t count = ::recv(socket_.get(), bytes.data(), bytes.size(), 0);
    if (count < 0) return errno == EAGAIN || errno == EINTR;
    if (count == 0) return false;
    pending_.append(bytes.data(), static_cast<std::size_t>(count));
    for (std::size_t end = pending_.find('\n'); end != std::string::npos;
         end = pending_.find('\n')) {
      const std::string line = pending_.substr(0, end);
      pending_.erase(0, end + 1);
      send(answer(handle(line)));
    }
    if (pending_.size() <= NavigatorJson::mostBytes) return true;
    send(answer("A line is too long"));
    return false;
  }

  std::optional<String> handle(const std::string& line) {
    rapidjson::Document document;
    const auto words = NavigatorJson::parse(line, document) ? NavigatorJson::texts(document)
                                                            : std::optional<std::vector<String>>();
    if (!words || words->empty()) return "A line must be a list of texts as JSON";
    if (words->front() == "watch" && words->size() == 1) {
      watches_ = true;
      return std::nullopt;
    }
    if (words->front() == "raise" && words->size() > 1) {
      return raiseNotification((*words)[1], std::span(*words).subspan(2));
    }
    return concat("There is no order \"", words->front(), "\" of that length");
  }

  ControlSocket& owner_;
  const UniqueFd socket_;
  FdSource source_;
  std::string pending_;
  bool watches_ = false;
};

std::string ControlSocket::pathOf(int pid) {
  std::string folder = runtimeFolder();
  return folder.empty() ? folder : folder + "/" + namePrefix + std::to_string(pid);
}

std::unique_ptr<ControlSocket> ControlSocket::open(const std::string& path) {
  LocalListener listener(path, SOCK_STREAM, {.backlog = backlog});
  if (!listener) return nullptr;
  return std::unique_ptr<ControlSocket>(new ControlSocket(std::move(listener)));
}

ControlSocket::ControlSocket(LocalListener listener)
    : listener_(std::move(listener)),
      source_(listener_.fd(), [this](UniqueFd socket) { accept(std::move(socket)); }) {
  NavigatorHandler::instance().setWatcher(
      [this](const char* name, const std::vector<String>& arguments) {
        tellWatchers(requestLine(name, arguments));
      });
}

ControlSocket::~ControlSocket() {
  NavigatorHandler::instance().setWatcher({});
}

void ControlSocket::accept(UniqueFd socket) {
  if (!isOurs(socket.get())) return;
  if (clients_.size() >= mostClients) {
    logAlways(LogError, "The control socket has %zu clients and accepts no more.", clients_.size());
    return;
  }
  clients_.push_back(std::make_unique<Client>(*this, std::move(socket)));
}

void ControlSocket::remove(Client* client) {
  std::erase_if(clients_, [&](const auto& each) { return each.get() == client; });
}

void ControlSocket::tellWatchers(const std::string& line) {
  for (const auto& client : clients_) {
    if (client->watches()) client->send(line);
  }
}

}  // namespace Tessel::Platform
