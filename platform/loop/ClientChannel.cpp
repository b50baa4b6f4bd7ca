// Messages of other processes to a message client.
#include "platform/loop/ClientChannel.h"

#include "platform/base/Log.h"
#include "platform/loop/IncomingConnection.h"
#include "platform/loop/MessageClient.h"
#include "platform/os/Process.h"

#include <glib.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <utility>

namespace Tessel::Platform {

namespace {

// Maximum connections of one process to one client. A child makes one.
constexpr int mostConnections = 8;
// Limit of messages of unregistered processes that are passed on to the handler, to be reported;
// those beyond it are logged.
constexpr int mostUnexpected = 16;
constexpr std::chrono::seconds unexpectedInterval{10};

}  // namespace

ClientChannel::ClientChannel(GMainContext* context, Deliver deliver)
    : context_(context), deliver_(std::move(deliver)) {}

ClientChannel::~ClientChannel() {
  if (servedDuringWaits_) MainThreadWait::removeParticipant(this);
}

int ClientChannel::id() {
  const std::lock_guard lock(mutex_);
  if (id_ < 0 && !closed_) id_ = openChannel(anyChannel, shared_from_this());
  return id_;
}

void ClientChannel::registerPID(pid_t pid) {
  {
    const std::lock_guard lock(mutex_);
    registered_.insert(pid);
    if (id_ < 0) return;
  }
  lookAtConnectionsAgain();
}

void ClientChannel::deregisterPID(pid_t pid) {
  const std::lock_guard lock(mutex_);
  registered_.erase(pid);
}

void ClientChannel::closeConnectionsOf(pid_t pid) {
  for (const auto& connection : connectionsOf(pid)) connection->close();
}

void ClientChannel::setHandshakeMode(bool on, MessageHandler* handshakeHandler) {
  const std::lock_guard lock(mutex_);
  inHandshake_ = !on;
  if (handshakeHandler) handshakeHandler_ = handshakeHandler;
}

void ClientChannel::expectChildrenOf(pid_t parent) {
  const std::lock_guard lock(mutex_);
  expectedParent_ = parent;
}

bool ClientChannel::expects(pid_t pid) const {
  pid_t parent = 0;
  {
    const std::lock_guard lock(mutex_);
    parent = expectedParent_;
  }
  return parent > 0 && parentOf(pid) == parent;
}

void ClientChannel::serveDuringWaits() {
  if (std::exchange(servedDuringWaits_, true)) return;
  const std::lock_guard lock(mutex_);
  arrived_.reset(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  MainThreadWait::addParticipant(this);
}

void ClientChannel::drain(pid_t pid) {
  for (const auto& connection : connectionsOf(pid)) connection->serveAll();
}

void ClientChannel::close() {
  int id = -1;
  {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    id = std::exchange(id_, -1);
  }
  if (id >= 0) closeChannel(id);
  for (const auto& connection : connectionsOf(0)) connection->close();
}

void ClientChannel::forget(IncomingConnection& connection) {
  const std::lock_guard lock(mutex_);
  std::erase_if(connections_, [&](const auto& entry) { return entry.get() == &connection; });
}

bool ClientChannel::knows(pid_t pid) const {
  const std::lock_guard lock(mutex_);
  return registered_.contains(pid);
}

void ClientChannel::greet(pid_t pid, const ReceivedMessage& received) {
  MessageHandler* handler = nullptr;
  {
    const std::lock_guard lock(mutex_);
    const auto now = std::chrono::steady_clock::now();
    if (now - unexpectedSince_ >= unexpectedInterval) {
      unexpectedSince_ = now;
      unexpectedMessages_ = 0;
    }
    if (inHandshake_ || ++unexpectedMessages_ <= mostUnexpected) handler = handshakeHandler_;
  }
  const auto message = handler ? deserializeMessage(received.blobs()) : nullptr;
  if (!handler || !message) {
    logAlways(LogError, "A message of process %d is refused: not an expected handshake.",
              static_cast<int>(pid));
    return;
  }
  message->setSenderPid(pid);
  handler->handleMessage(*message);
}

void ClientChannel::connected(pid_t pid, ChannelSocket socket) {
  const std::lock_guard lock(mutex_);
  if (closed_) return;
  const auto ofProcess =
      std::count_if(connections_.begin(), connections_.end(),
                    [pid](const auto& connection) { return connection->pid() == pid; });
  if (ofProcess >= mostConnections) {
    logAlways(LogError, "A connection of process %d is refused: it already has %d.",
              static_cast<int>(pid), static_cast<int>(ofProcess));
    return;
  }
  // Registered before it is served, since it may end at once.
  connections_.push_back(
      std::make_shared<IncomingConnection>(weak_from_this(), pid, std::move(socket)));
  connections_.back()->open(context_);
  if (arrived_) ::eventfd_write(arrived_.get(), 1);
}

std::vector<std::shared_ptr<IncomingConnection>> ClientChannel::connectionsOf(pid_t pid) const {
  const std::lock_guard lock(mutex_);
  std::vector<std::shared_ptr<IncomingConnection>> found;
  for (const auto& connection : connections_) {
    if (pid == 0 || connection->pid() == pid) found.push_back(connection);
  }
  return found;
}

void ClientChannel::appendPollDescriptors(std::vector<pollfd>& descriptors) const {
  const std::lock_guard lock(mutex_);
  descriptors.push_back({arrived_.get(), POLLIN, 0});
  for (const auto& connection : connections_) descriptors.push_back(connection->pollDescriptor());
}

void ClientChannel::serve() {
  eventfd_t ignored = 0;
  ::eventfd_read(arrived_.get(), &ignored);
  for (const auto& connection : connectionsOf(0)) connection->serveSome();
}

}  // namespace Tessel::Platform
