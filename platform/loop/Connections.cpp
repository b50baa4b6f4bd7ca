// Outgoing connections of this process to the channels of other processes.
#include "platform/loop/Connections.h"

#include "platform/base/ErrorReport.h"
#include "platform/base/FdSource.h"
#include "platform/base/Log.h"
#include "platform/channel/Channels.h"
#include "platform/loop/MainThreadWait.h"
#include "platform/loop/MessageClient.h"
#include "platform/os/Process.h"

#include <glib.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <map>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace Tessel::Platform {

namespace {

using Clock = std::chrono::steady_clock;

// Time limit for a reply of a process without a silence limit; such a process is not killed.
constexpr std::chrono::milliseconds longestWait{60'000};
// Granularity at which a peer's silence is told apart from time spent serving others.
constexpr std::chrono::milliseconds longestSlice{500};

class Connection : public std::enable_shared_from_this<Connection> {
 public:
  static std::shared_ptr<Connection> open(int id, pid_t peer, UniqueFd socket);

  // False if the message is not sent: it cannot be serialised, is too large, or the peer does not
  // read. The error is reported to the chrome.
  bool send(Message& message);
  void call(Message& message);
  void setSilenceLimit(std::chrono::milliseconds limit) { silenceLimit_ = limit; }
  // Closes the connection without sending a pulse.
  void detach();

  bool hasUnsent() const { return unsent_; }
  pollfd pollDescriptor() const;

 private:
  struct Waiter {
    std::uint64_t id;
    MessageReplyBuffer* reply;
    bool answered = false;
  };

 public:
  // Sends queued messages and receives replies, up to the waiter's if one is given: another reply
  // rarely follows it, and the next poll would find it.
  void exchange(const Waiter* until = nullptr);

 private:
  Connection(int id, pid_t peer, UniqueFd socket)
      : id_(id), peer_(peer), socket_(std::move(socket)) {}

  void reportUnsent(SendOutcome outcome, const Message& message, Blobs blobs) const;
  void takeReply();
  void end(bool isPeerAlive);

  const int id_;
  const pid_t peer_;
  std::optional<std::chrono::milliseconds> silenceLimit_;
  ReceivedMessage received_;
  std::vector<Waiter*> waiters_;
  std::vector<pollfd> spare_;  // the last call's array, reused
  std::uint64_t lastReplyId_ = 0;
  bool ended_ = false;
  bool unresponsive_ = false;  // was stopped while a call waited, and has not replied since
  FdSource source_;

  mutable std::mutex mutex_;
  ChannelSocket socket_;              // guarded by the mutex, except for receiving
  std::atomic<bool> unsent_ = false;  // whether the socket has unsent messages
  std::atomic<bool> broken_ = false;  // the peer does not read replies, or is gone
  bool full_ = false;                 // guarded by the mutex: SendOutcome::Full was reported
};

// All connections by number. As a wait participant, flushes them while the main thread waits for
// something else.
class Connections final : public MainThreadWait::Participant {
 public:
  static Connections& instance() {
    static auto* const connections = new Connections;
    return *connections;
  }

  std::shared_ptr<Connection> find(int id) const {
    const std::lock_guard lock(mutex_);
    const auto found = byId_.find(id);
    return found == byId_.end() ? nullptr : found->second;
  }
  int add(pid_t peer, UniqueFd socket) {
    const std::lock_guard lock(mutex_);
    const int id = ++lastId_;
    byId_.emplace(id, Connection::open(id, peer, std::move(socket)));
    return id;
  }
  std::shared_ptr<Connection> take(int id) {
    const std::lock_guard lock(mutex_);
    const auto node = byId_.extract(id);
    return node.empty() ? nullptr : node.mapped();
  }

  void appendPollDescriptors(std::vector<pollfd>& descriptors) const override {
    const std::lock_guard lock(mutex_);
    for (const auto& [id, connection] : byId_) {
      if (connection->hasUnsent()) descriptors.push_back(connection->pollDescriptor());
    }
  }
  void serve() override {
    std::vector<std::shared_ptr<Connection>> unsent;
    {
      const std::lock_guard lock(mutex_);
      for (const auto& [id, connection] : byId_) {
        if (connection->hasUnsent()) unsent.push_back(connection);
      }
    }
    for (const auto& connection : unsent) connection->exchange();
  }

 private:
  mutable std::mutex mutex_;
  int lastId_ = 0;
  std::map<int, std::shared_ptr<Connection>> byId_;
};

std::shared_ptr<Connection> Connection::open(int id, pid_t peer, UniqueFd socket) {
  std::shared_ptr<Connection> connection(new Connection(id, peer, std::move(socket)));
  connection->source_.watch(
      connection->socket_.fd(),
      [raw = connection.get()] {
        return raw->broken_ ? FdSource::atOnce : raw->pollDescriptor().events;
      },
      // The capture keeps the connection alive until the source is stopped.
      [connection](short) { connection->exchange(); }, {.name = "connection", .recurses = true});
  return connection;
}

pollfd Connection::pollDescriptor() const {
  const auto events = static_cast<short>(unsent_ ? POLLIN | POLLOUT : POLLIN);
  return {socket_.fd(), events, 0};
}

bool Connection::send(Message& message) {
  const BlobList blobs = serializeMessage(message);
  // The serialiser has logged the reason.
  if (Blobs(blobs).empty()) return false;
  bool wakeLoop = false;
  SendOutcome outcome = SendOutcome::Broken;
  bool isNews = true;
  {
    const std::lock_guard lock(mutex_);
    // Messages with a reply count as answers (larger bound): the number of nested waits is limited.
    if (!broken_) outcome = socket_.send(blobs, message.reply() != nullptr);
    if (outcome == SendOutcome::Broken) broken_ = true;
    // Reported once, until the peer has read everything.
    if (outcome == SendOutcome::Full) isNews = !std::exchange(full_, true);
    const bool hasUnsent = socket_.hasUnsent();
    wakeLoop = broken_ || (hasUnsent && !unsent_);
    unsent_ = hasUnsent;
  }
  if (wakeLoop) g_main_context_wakeup(nullptr);
  if (isNews) reportUnsent(outcome, message, blobs);
  return outcome == SendOutcome::Sent;
}

void Connection::reportUnsent(SendOutcome outcome, const Message& message, Blobs blobs) const {
  const String process = String::fromSignedInteger(peer_);
  if (outcome == SendOutcome::TooLarge) {
    std::size_t size = 0;
    for (const Blob& blob : blobs) size += blob.length;
    reportError(concat("A message is too large for another process and is not sent: ",
                       message.description(), ", ", String::fromUnsignedInteger(size), " bytes."));
  } else if (outcome == SendOutcome::Full) {
    reportError(concat("Process ", process, " does not read: ", message.description(),
                       " is not sent, nor are further messages until it does."));
  }
}

void Connection::call(Message& message) {
  const auto self = shared_from_this();
  Waiter waiter{++lastReplyId_, message.reply()};
  message.setReplyId(waiter.id);
  // After a timeout, do not wait again for a peer that is still stopped.
  if (unresponsive_ && isStoppedOrTraced(peer_)) return;
  MainThreadWait wait;
  if (!send(message)) {
    if (broken_) end(true);
    return;
  }
  waiters_.push_back(&waiter);
  const auto limit = silenceLimit_.value_or(longestWait);
  Clock::duration silence{};
  std::vector<pollfd> own = std::exchange(spare_, {});
  while (!waiter.answered && !ended_) {
    own.assign(1, pollDescriptor());
    if (silence >= limit) {
      if (isStoppedOrTraced(peer_)) {
        unresponsive_ = true;
        reportError(concat("Process ", String::fromSignedInteger(peer_),
                           " is stopped or traced and does not answer: ", message.description(),
                           " gets the default answer. It is not killed."));
      } else if (silenceLimit_) {
        logAlways(LogError, "Process %d has not answered for %lld ms and is killed.",
                  static_cast<int>(peer_), static_cast<long long>(limit.count()));
        end(true);
      } else {
        logAlways(LogError, "Process %d has not answered a message of type %d for %lld ms.",
                  static_cast<int>(peer_), message.type(), static_cast<long long>(limit.count()));
      }
      break;
    }
    const auto slice = std::min<Clock::duration>(limit - silence, longestSlice);
    const auto start = Clock::now();
    if (wait.poll(own, std::chrono::ceil<std::chrono::milliseconds>(slice))) {
      silence = Clock::duration::zero();
      exchange(&waiter);
    } else {
      // Time spent serving others does not count as the peer's silence.
      silence += std::min(Clock::now() - start, slice);
    }
  }
  spare_ = std::move(own);
  std::erase(waiters_, &waiter);
}

void Connection::exchange(const Waiter* until) {
  if (ended_) return;
  const auto self = shared_from_this();
  bool isBroken = broken_;
  if (!isBroken && unsent_) {
    const std::lock_guard lock(mutex_);
    isBroken = !socket_.flush();
    unsent_ = socket_.hasUnsent();
    if (!unsent_) full_ = false;
  }
  for (;;) {
    const auto outcome = socket_.receive(received_);
    if (outcome == ChannelSocket::Outcome::Message) {
      takeReply();
      if (until && until->answered && !isBroken) return;
      continue;
    }
    if (outcome == ChannelSocket::Outcome::Malformed) {
      logAlways(LogError, "The connection to process %d is closed: malformed message.",
                static_cast<int>(peer_));
    }
    if (outcome == ChannelSocket::Outcome::Closed) return end(false);
    if (outcome != ChannelSocket::Outcome::Nothing) isBroken = true;
    break;
  }
  if (isBroken) end(true);
}

void Connection::takeReply() {
  unresponsive_ = false;
  MessageHeader header{};
  const Blobs blobs = received_.blobs();
  if (blobs.size() != 2 || !readHeader(blobs, header) ||
      (header.flags & MessageHeader::isReply) == 0) {
    return;
  }
  const std::uint64_t id = std::uint64_t{header.replyIdHigh} << 32 | header.replyIdLow;
  const auto found = std::find_if(waiters_.begin(), waiters_.end(),
                                  [&](const Waiter* waiter) { return waiter->id == id; });
  if (found == waiters_.end()) return;
  // An empty reply means that no handler replied: the buffer keeps its default.
  if (blobs[1].length > 0) (*found)->reply->assign(blobs[1].data, blobs[1].length);
  (*found)->answered = true;
}

// A peer that is alive but does not read, or sends malformed messages, is killed if it has a
// silence limit.
void Connection::end(bool isPeerAlive) {
  if (std::exchange(ended_, true)) return;
  const auto self = shared_from_this();
  broken_ = true;
  source_.stop();
  Connections::instance().take(id_);
  if (isPeerAlive && silenceLimit_) ::kill(peer_, SIGKILL);
  if (MainMessageClient* const client = MainMessageClient::instance()) {
    client->dispatchPulse(Pulse::connectionDied, id_, peer_);
  }
}

void Connection::detach() {
  ended_ = true;
  broken_ = true;
  source_.stop();
}

}  // namespace

void serveConnectionsDuringWaits() {
  MainThreadWait::addParticipant(&Connections::instance());
}

// NOLINTNEXTLINE(readability-identifier-naming)
int ConnectAttach(int /*node*/, pid_t pid, int channelId, int /*index*/, int flags) {
  UniqueFd socket = connectToChannel(
      pid, channelId, (flags & waitForRoom) != 0 ? waitForRoomLimit : std::chrono::milliseconds{});
  return socket ? Connections::instance().add(pid, std::move(socket)) : -1;
}

// NOLINTNEXTLINE(readability-identifier-naming)
void ConnectDetach(int connectionId) {
  if (const auto connection = Connections::instance().take(connectionId)) connection->detach();
}

void killSilentPeer(int connectionId, std::chrono::milliseconds limit) {
  if (const auto connection = Connections::instance().find(connectionId)) {
    connection->setSilenceLimit(limit);
  }
}

void sendOver(int connectionId, Message& message) {
  const auto connection = Connections::instance().find(connectionId);
  if (!connection) return;
  if (message.reply()) {
    connection->call(message);
  } else {
    connection->send(message);
  }
}

}  // namespace Tessel::Platform
