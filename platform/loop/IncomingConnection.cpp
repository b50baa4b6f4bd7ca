// A connection from another process to a message client.
#include "platform/loop/IncomingConnection.h"

#include "platform/base/ErrorReport.h"
#include "platform/base/Log.h"
#include "platform/loop/ClientChannel.h"
#include "platform/loop/MainThreadWait.h"
#include "platform/loop/MessageClient.h"

#include <glib.h>
#include <sys/socket.h>

#include <utility>

namespace Tessel::Platform {

namespace {

using Clock = std::chrono::steady_clock;

// Messages and time per iteration of the loop, and how long a connection may be busy before its
// priority is lowered.
constexpr int mostOfATurn = 16;
constexpr std::chrono::milliseconds longestTurn{2};
constexpr std::chrono::milliseconds longestBurst{20};

}  // namespace

IncomingConnection::IncomingConnection(std::weak_ptr<ClientChannel> channel, pid_t pid,
                                       ChannelSocket socket)
    : channel_(std::move(channel)), pid_(pid), socket_(std::move(socket)) {}

IncomingConnection::~IncomingConnection() = default;

void IncomingConnection::open(GMainContext* context) {
  source_.watch(
      socket_.fd(),
      // Not polled while messages may not be served: the loop of a wait would spin on a readable
      // socket.
      [this] { return mayServe() ? pollDescriptor().events : short{0}; },
      // The capture keeps it alive until the source is stopped. Recursive, like the source of the
      // client's own queue and for the same reasons.
      [self = shared_from_this()](short) { self->serveSome(); },
      {.name = "incoming messages", .context = context, .recurses = true});
}

pollfd IncomingConnection::pollDescriptor() const {
  const auto events = static_cast<short>(socket_.hasUnsent() ? POLLIN | POLLOUT : POLLIN);
  return {socket_.fd(), events, 0};
}

bool IncomingConnection::mayServe() const {
  if (!MainThreadWait::isActive()) return true;
  const auto channel = channel_.lock();
  return channel && channel->isServedDuringWaits();
}

void IncomingConnection::serveSome() {
  const auto start = Clock::now();
  for (int i = 0; i < mostOfATurn && mayServe(); ++i) {
    if (serveOne() != Served::One) return setBusy(false);
    if (Clock::now() - start > longestTurn) break;
  }
  busy_ += Clock::now() - start;
  if (busy_ > longestBurst) setBusy(true);
}

// Painting and other work of the toolkit have lower priorities than messages and input: a
// connection that is never idle would starve them.
void IncomingConnection::setBusy(bool busy) {
  if (!busy) busy_ = {};
  source_.setPriority(busy ? G_PRIORITY_DEFAULT_IDLE : G_PRIORITY_DEFAULT);
}

void IncomingConnection::serveAll() {
  while (serveOne() != Served::Nothing) {
  }
}

IncomingConnection::Served IncomingConnection::serveOne() {
  if (ended_) return Served::Nothing;
  const auto self = shared_from_this();
  const auto channel = channel_.lock();
  if (!channel || closing_) {
    end();
    return Served::Nothing;
  }
  // A peer that no longer reads replies may still have sent messages.
  const bool isDeaf = socket_.hasUnsent() && !socket_.flush();
  switch (socket_.receive(received_)) {
    case ChannelSocket::Outcome::Nothing:
      if (isDeaf) end();
      return Served::Nothing;
    case ChannelSocket::Outcome::Closed:
      end();
      return Served::Nothing;
    case ChannelSocket::Outcome::Malformed:
      logAlways(LogError, "The connection of process %d is closed: malformed message.",
                static_cast<int>(pid_));
      end();
      return Served::Nothing;
    case ChannelSocket::Outcome::Message:
      break;
  }
  // Dropped messages are replied to as well, since their senders wait.
  MessageHeader header{};
  if (!readHeader(received_.blobs(), header)) {
    logAlways(LogError, "The connection of process %d is closed: a message has no header.",
              static_cast<int>(pid_));
    end();
    return Served::Nothing;
  }
  const bool isOwed = (header.flags & MessageHeader::wantsReply) != 0;
  const std::uint64_t id = std::uint64_t{header.replyIdHigh} << 32 | header.replyIdLow;
  ReplyBytes bytes;
  bool isLast = isOwed;
  const auto message = channel->knows(pid_) ? deserializeMessage(received_.blobs()) : nullptr;
  if (message) {
    message->setSenderPid(pid_);
    if (isOwed) message->setReply(&bytes);
    isLast = !channel->deliver(*message) || isLast;
  }
  if (isOwed) reply(header.type, id, bytes.bytes());
  if (ended_) return Served::Nothing;
  return isLast ? Served::Last : Served::One;
}

void IncomingConnection::reply(int type, std::uint64_t id, std::string_view bytes) {
  const MessageHeader header{.type = type,
                             .version = MessageHeader::currentVersion,
                             .flags = MessageHeader::isReply,
                             .sender = 0,
                             .replyIdHigh = static_cast<std::uint32_t>(id >> 32),
                             .replyIdLow = static_cast<std::uint32_t>(id),
                             .integer = 0,
                             .size = sizeof header};
  BlobList blobs;
  blobs.add(&header, sizeof header);
  blobs.add(bytes.data(), bytes.size());
  SendOutcome outcome = ended_ ? SendOutcome::Broken : socket_.send(blobs, true);
  if (outcome == SendOutcome::TooLarge) {
    reportError(
        concat("The reply to a message of type ", String::fromSignedInteger(type),
               " is too large for another process: ", String::fromUnsignedInteger(bytes.size()),
               " bytes. An empty reply is sent."));
    blobs.clear();
    blobs.add(&header, sizeof header);
    blobs.add(nullptr, 0);
    outcome = socket_.send(blobs, true);
  }
  if (outcome == SendOutcome::Sent) return;
  // The peer no longer waits for replies.
  if (MessageClient* const client = MessageClient::ofThisThread()) {
    client->dispatchPulse(Pulse::unblock, static_cast<int>(id));
  }
  end();
}

void IncomingConnection::close() {
  closing_ = true;
  // Wakes the client's thread; the socket itself is closed there.
  ::shutdown(socket_.fd(), SHUT_RDWR);
}

void IncomingConnection::end() {
  if (std::exchange(ended_, true)) return;
  const auto self = shared_from_this();
  if (const auto channel = channel_.lock()) channel->forget(*this);
  source_.stop();
}

}  // namespace Tessel::Platform
