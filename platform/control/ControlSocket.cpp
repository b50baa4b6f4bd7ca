// The control. Main thread.
#include "platform/control/ControlSocket.h"

#include "platform/base/FdSource.h"
#include "platform/base/Log.h"
#include "platform/desktop/NavigatorHandler.h"
#include "platform/desktop/NavigatorJson.h"
#include "platform/desktop/Notifications.h"
#include "platform/os/Folders.h"
#include "platform/os/Process.h"
#include "platform/sockets/Peer.h"
#include "platform/sockets/SendQueue.h"
#include "platform/sockets/Transfer.h"

#include <sys/socket.h>
#include <unistd.h>

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
// Bytes of an answer: room for what a script tells.
constexpr std::size_t longestAnswer = 8u << 20;

std::string lineOf(const ControlAnswer& answer) {
  return NavigatorJson::text([&](Writer& writer) {
           writer.StartObject();
           if (!answer.error.isEmpty()) {
             NavigatorJson::writeMember(writer, "error", answer.error);
           } else {
             writer.Key("ok");
             writer.Bool(true);
           }
           if (answer.error.isEmpty() && !answer.json.isEmpty()) {
             writer.Key("value");
             writer.RawValue(answer.json.utf8(), answer.json.length(), rapidjson::kNullType);
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

// Whether a process that descends from this one may be at the other end. Those hold pages, which a
// sandbox may not keep from this socket, and a page must not load the chrome. Of one that has ended
// meanwhile it cannot be told any more; this process itself is none of them.
bool mayBeOfThisProgram(int socket) {
  const auto peer = peerOf(socket);
  const pid_t own = ::getpid();
  if (peer && peer->pid == own) return false;
  for (pid_t pid = peer ? peer->pid : -1; pid != own; pid = parentOf(pid)) {
    if (pid < 0) return true;
    if (pid <= 1) return false;
  }
  return true;
}

// A line on its way out, with the file that goes with its first byte.
struct OutgoingLine {
  std::string text;
  UniqueFd file;

  std::size_t size() const { return text.size(); }
};

// What is told to a client that is being answered waits for the end of the answer, up to so many
// lines.
constexpr std::size_t mostUntold = 256;

}  // namespace

class ControlSocket::Client : public std::enable_shared_from_this<Client> {
 public:
  Client(ControlSocket& owner, UniqueFd socket)
      : owner_(owner),
        socket_(std::move(socket)),
        handler_(mayBeOfThisProgram(socket_.get()) ? nullptr : owner.handler_) {
    source_.watch(
        socket_.get(), [this] { return interest(); },
        [this](short) {
          const auto self = shared_from_this();
          if (!flush() || !handleLines() || !read()) owner_.remove(this);
        });
  }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  bool watches() const { return watches_; }

  // A client that does not read is not waited for, and is found gone at its next event.
  void tell(const std::string& line) {
    const bool answerWaits = !queue_.isEmpty();
    send({line, UniqueFd()});
    if (!queue_.isEmpty() && (!answerWaits || queue_.count() > mostUntold)) cutOff();
  }

 private:
  // One command at a time: who asks on without reading the answers waits.
  short interest() const {
    if (!queue_.isEmpty()) return POLLOUT;
    if (isBusy_) return 0;
    return hasLine() ? FdSource::atOnce : POLLIN;
  }

  bool hasLine() const { return pending_.find('\n') != std::string::npos; }

  void send(OutgoingLine line) {
    line.text.push_back('\n');
    queue_.add(std::move(line));
    if (!flush()) cutOff();
  }

  // False when the client is gone.
  bool flush() {
    return queue_.flush([this](const OutgoingLine& line, std::size_t sent) {
      const std::string_view rest = std::string_view(line.text).substr(sent);
      return trySend(socket_.get(), rest, sent == 0 ? line.file.get() : -1);
    });
  }

  void cutOff() {
    watches_ = false;
    queue_ = {};
    ::shutdown(socket_.get(), SHUT_RDWR);
  }

  // False when the client is done with.
  bool read() {
    if (interest() != POLLIN) return true;
    std::array<char, 4096> bytes;
    const ssize_t count = ::recv(socket_.get(), bytes.data(), bytes.size(), 0);
    if (count < 0) return errno == EAGAIN || errno == EINTR;
    if (count == 0) return false;
    pending_.append(bytes.data(), static_cast<std::size_t>(count));
    return handleLines();
  }

  bool handleLines() {
    while (!isBusy_ && queue_.isEmpty()) {
      const std::size_t end = pending_.find('\n');
      if (end == std::string::npos) break;
      const std::string line = pending_.substr(0, end);
      pending_.erase(0, end + 1);
      handle(line);
    }
    if (pending_.size() <= NavigatorJson::mostBytes) return true;
    answer({.error = "A line is too long"});
    return false;
  }

  void answer(const ControlAnswer& answer, UniqueFd file = UniqueFd()) {
    std::string line = lineOf(answer);
    if (line.size() > longestAnswer) {
      return send({lineOf({.error = "The answer is too long"}), UniqueFd()});
    }
    send({std::move(line), std::move(file)});
  }

  void handle(const std::string& line) {
    rapidjson::Document document;
    const auto words = NavigatorJson::parse(line, document) ? NavigatorJson::texts(document)
                                                            : std::optional<std::vector<String>>();
    if (!words || words->empty()) {
      return answer({.error = "A line must be a list of texts as JSON"});
    }
    const String& name = words->front();
    if (name == "watch" && words->size() == 1) {
      watches_ = true;
      return answer({});
    }
    if (name == "raise" && words->size() > 1) {
      const auto problem = raiseNotification((*words)[1], std::span(*words).subspan(2));
      return answer({.error = problem.value_or(String())});
    }
    if (!handler_) return answer({.error = concat("There is no command \"", name, "\"")});
    isBusy_ = true;
    carryOut(*handler_, name, std::span(*words).subspan(1),
             [weak = weak_from_this()](ControlAnswer result) {
               const auto self = weak.lock();
               if (!self) return;
               self->isBusy_ = false;
               UniqueFd file = std::move(result.file);
               self->answer(result, std::move(file));
             });
  }

  ControlSocket& owner_;
  const UniqueFd socket_;
  ControlHandler* const handler_;  // null for clients that may only raise and watch
  FdSource source_;
  std::string pending_;
  SendQueue<OutgoingLine> queue_;
  bool isBusy_ = false;  // a command is being carried out
  bool watches_ = false;
};

std::string ControlSocket::pathOf(int pid) {
  std::string folder = runtimeFolder();
  return folder.empty() ? folder : folder + "/" + namePrefix + std::to_string(pid);
}

std::unique_ptr<ControlSocket> ControlSocket::open(const std::string& path,
                                                   ControlHandler* handler) {
  LocalListener listener(path, SOCK_STREAM, {.backlog = backlog});
  if (!listener) return nullptr;
  return std::unique_ptr<ControlSocket>(new ControlSocket(std::move(listener), handler));
}

ControlSocket::ControlSocket(LocalListener listener, ControlHandler* handler)
    : listener_(std::move(listener)),
      handler_(handler),
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
  clients_.push_back(std::make_shared<Client>(*this, std::move(socket)));
}

void ControlSocket::remove(Client* client) {
  std::erase_if(clients_, [&](const auto& each) { return each.get() == client; });
}

void ControlSocket::tellWatchers(const std::string& line) {
  for (const auto& client : clients_) {
    if (client->watches()) client->tell(line);
  }
}

}  // namespace Tessel::Platform
