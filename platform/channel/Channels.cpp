// Channels and their acceptor thread. All state of the acceptor is guarded by one mutex, which is
// not held while an owner is called.
#include "platform/channel/Channels.h"

#include "platform/base/Log.h"
#include "platform/os/Folders.h"
#include "platform/os/Process.h"
#include "platform/sockets/Accept.h"
#include "platform/sockets/LocalSocket.h"
#include "platform/sockets/Peer.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <mutex>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace Tessel::Platform {

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* namePrefix = "channel-";
// How long a connection may stay unidentified, and the maximum number of unidentified connections:
// of unexpected processes, and of expected ones.
constexpr std::chrono::seconds identificationTimeout{10};
constexpr std::size_t mostUnexpected = 64;
constexpr std::size_t mostExpected = 256;
// The backlog of pending connections. Short, so that a flood of connections by one process does not
// delay others behind thousands of its own; with a full backlog, connecting processes wait.
constexpr int acceptQueue = 64;

// Where a channel is; empty, with errno set, when the folder is not to be had.
std::string pathOf(pid_t pid, int channel) {
  std::string folder = runtimeFolder();
  if (folder.empty()) return folder;
  return folder + "/" + namePrefix + std::to_string(pid) + "-" + std::to_string(channel);
}

class Acceptor {
 public:
  static Acceptor& instance() {
    static auto* const acceptor = new Acceptor;  // leaked, as its thread is
    return *acceptor;
  }

  int open(int wanted, const std::shared_ptr<ChannelOwner>& owner);
  void close(int channel);
  void afterConnections(std::function<void()> call);
  void wake() const { ::eventfd_write(wake_.get(), 1); }

 private:
  struct Listener {
    int channel;
    LocalListener socket;
    std::shared_ptr<ChannelOwner> owner;
  };
  // Connected, and not taken yet.
  struct Unidentified {
    std::shared_ptr<ChannelOwner> owner;
    pid_t pid;
    uid_t uid;
    bool isExpected;
    ChannelSocket socket;
    Clock::time_point deadline;
  };

  // What one turn of the thread waits for.
  struct Round {
    std::vector<pollfd> descriptors;  // the wake-up's, the listeners', the unidentified ones'
    std::vector<std::shared_ptr<ChannelOwner>> owners;  // of the listeners
    std::size_t waitingCalls;
    std::chrono::milliseconds timeout;  // negative for none
  };

  void run();
  Round nextRound();
  // Each connection's descriptor tells whether it has sent something.
  void settleAll(std::span<const pollfd> spoken);
  // True if no connection was pending.
  bool acceptAll(const Round& round);
  // Those of the calls that have waited since before the poll.
  std::vector<std::function<void()>> takeCalls(std::size_t count);
  void accept(int listener, const std::shared_ptr<ChannelOwner>& owner);
  void pauseAccepting();
  void makeRoomFor(const Unidentified& connection);
  // True when the connection is identified or given up.
  static bool settle(Unidentified& connection, bool hasSpoken);

  std::mutex mutex_;
  std::vector<Listener> listeners_;
  int lastChannel_ = 0;
  std::string folder_;  // set before the thread is there
  UniqueFd wake_;
  std::vector<std::function<void()>> calls_;
  // The thread's own, the oldest first.
  std::vector<Unidentified> unidentified_;
  Clock::time_point pausedUntil_{};
  bool hasComplained_ = false;  // of too many of them, since there were few
};

int Acceptor::open(int wanted, const std::shared_ptr<ChannelOwner>& owner) {
  const std::lock_guard lock(mutex_);
  if (!wake_) {
    folder_ = runtimeFolder();
    wake_.reset(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    const auto body = [](void* self) { static_cast<Acceptor*>(self)->run(); };
    if (!wake_ || !startNamedDetachedThread("acceptor", body, this)) {
      wake_.reset();
      return -1;
    }
  }
  const int channel = wanted == anyChannel ? ++lastChannel_ : wanted;
  const std::string path = pathOf(::getpid(), channel);
  if (path.empty()) return -1;
  // A process of this number that was killed has left its name behind.
  LocalListener socket(path, SOCK_SEQPACKET, {.backlog = acceptQueue, .replaces = true});
  if (!socket) return -1;
  removeAtExit(path);
  listeners_.push_back({channel, std::move(socket), owner});
  wake();
  return channel;
}

void Acceptor::close(int channel) {
  const std::lock_guard lock(mutex_);
  std::erase_if(listeners_, [&](const Listener& listener) { return listener.channel == channel; });
  wake();
}

void Acceptor::afterConnections(std::function<void()> call) {
  {
    const std::lock_guard lock(mutex_);
    if (wake_) {
      calls_.push_back(std::move(call));
      return wake();
    }
  }
  call();
}

std::vector<std::function<void()>> Acceptor::takeCalls(std::size_t count) {
  const std::lock_guard lock(mutex_);
  const auto end = calls_.begin() + static_cast<std::ptrdiff_t>(count);
  std::vector<std::function<void()>> taken(std::move_iterator(calls_.begin()),
                                           std::move_iterator(end));
  calls_.erase(calls_.begin(), end);
  return taken;
}

Acceptor::Round Acceptor::nextRound() {
  Round round{{{wake_.get(), POLLIN, 0}}, {}, 0, std::chrono::milliseconds(-1)};
  const auto pause = std::chrono::ceil<std::chrono::milliseconds>(pausedUntil_ - Clock::now());
  const bool isPaused = pause.count() > 0;
  if (isPaused) round.timeout = pause;
  {
    const std::lock_guard lock(mutex_);
    for (const Listener& listener : listeners_) {
      round.descriptors.push_back(
          {listener.socket.fd(), static_cast<short>(isPaused ? 0 : POLLIN), 0});
      round.owners.push_back(listener.owner);
    }
    round.waitingCalls = calls_.size();
  }
  for (const Unidentified& connection : unidentified_) {
    round.descriptors.push_back({connection.socket.fd(), POLLIN, 0});
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(
        std::max(connection.deadline - Clock::now(), Clock::duration::zero()));
    round.timeout = round.timeout.count() < 0 ? left : std::min(round.timeout, left);
  }
  if (round.waitingCalls > 0) round.timeout = std::chrono::milliseconds(0);
  return round;
}

void Acceptor::settleAll(std::span<const pollfd> spoken) {
  for (std::size_t i = unidentified_.size(); i-- > 0;) {
    if (!settle(unidentified_[i], spoken[i].revents != 0)) continue;
    unidentified_.erase(unidentified_.begin() + static_cast<std::ptrdiff_t>(i));
  }
}

bool Acceptor::acceptAll(const Round& round) {
  bool isQuiet = true;
  for (std::size_t i = 0; i < round.owners.size(); ++i) {
    const pollfd& listener = round.descriptors[i + 1];
    isQuiet = isQuiet && listener.revents == 0;
    // The listener may be closed by now: then the number is unused or reused for another socket, on
    // which accepting fails.
    if (listener.revents & POLLIN) accept(listener.fd, round.owners[i]);
  }
  return isQuiet;
}

void Acceptor::run() {
  // On this thread, since no other thread waits for it.
  removeStaleFiles(folder_, namePrefix);
  for (;;) {
    Round round = nextRound();
    std::span<pollfd> all(round.descriptors);
    if (::poll(all.data(), all.size(), static_cast<int>(round.timeout.count())) < 0) continue;
    eventfd_t ignored = 0;
    if (all[0].revents != 0) ::eventfd_read(wake_.get(), &ignored);
    // Only the connections that were polled: acceptAll() may add more.
    settleAll(all.subspan(1 + round.owners.size()));
    if (!acceptAll(round)) continue;
    for (const auto& call : takeCalls(round.waitingCalls)) call();
  }
}

void Acceptor::accept(int listener, const std::shared_ptr<ChannelOwner>& owner) {
  UniqueFd socket;
  {
    const std::lock_guard lock(mutex_);
    const bool isOpen = std::any_of(listeners_.begin(), listeners_.end(), [&](const auto& entry) {
      return entry.socket.fd() == listener && entry.owner == owner;
    });
    if (isOpen) socket = acceptOne(listener);
    if (isOpen && !socket && isShortOfDescriptors(errno)) pauseAccepting();
  }
  if (!socket) return;
  const auto peer = peerOf(socket.get());
  if (!isTrustedPeer(peer)) {
    logAlways(LogError, "A connection of process %d of user %u is refused.",
              peer ? static_cast<int>(peer->pid) : -1, peer ? peer->uid : 0);
    return;
  }
  Unidentified connection{owner,
                          peer->pid,
                          peer->uid,
                          !owner->knows(peer->pid) && owner->expects(peer->pid),
                          ChannelSocket(std::move(socket)),
                          Clock::now() + identificationTimeout};
  if (settle(connection, false)) return;
  makeRoomFor(connection);
  unidentified_.push_back(std::move(connection));
}

void Acceptor::pauseAccepting() {
  const int error = errno;
  const auto now = Clock::now();
  if (now - pausedUntil_ > identificationTimeout) {
    logAlways(LogError, "Cannot accept connections at present: %s", std::strerror(error));
  }
  pausedUntil_ = now + acceptPause;
}

// Closes one of too many unidentified connections: the oldest one of the process with the most, of
// the user with the most. So no process can lock out others by connecting often.
void Acceptor::makeRoomFor(const Unidentified& connection) {
  const auto alike = [&](const Unidentified& other) {
    return other.isExpected == connection.isExpected;
  };
  const auto count = [&](auto same) {
    return std::count_if(unidentified_.begin(), unidentified_.end(),
                         [&](const Unidentified& other) { return alike(other) && same(other); });
  };
  const std::size_t most = connection.isExpected ? mostExpected : mostUnexpected;
  const auto all = static_cast<std::size_t>(count([](const Unidentified&) { return true; }));
  if (all < most / 2) hasComplained_ = false;
  if (all < most) return;
  auto worst = unidentified_.end();
  std::pair<std::ptrdiff_t, std::ptrdiff_t> worstCounts{};
  for (auto it = unidentified_.begin(); it != unidentified_.end(); ++it) {
    if (!alike(*it)) continue;
    const std::pair counts{count([&](const Unidentified& other) { return other.uid == it->uid; }),
                           count([&](const Unidentified& other) { return other.pid == it->pid; })};
    if (worst != unidentified_.end() && counts <= worstCounts) continue;
    worst = it;
    worstCounts = counts;
  }
  if (!std::exchange(hasComplained_, true)) {
    logAlways(LogError, "Too many unidentified connections: those of process %d are closed first.",
              static_cast<int>(worst->pid));
  }
  unidentified_.erase(worst);
}

bool Acceptor::settle(Unidentified& connection, bool hasSpoken) {
  // Whatever a known process has sent is read by whom it is for.
  if (!connection.owner->knows(connection.pid) && hasSpoken) {
    ReceivedMessage message;
    switch (connection.socket.receive(message)) {
      case ChannelSocket::Outcome::Nothing:
        return false;
      case ChannelSocket::Outcome::Closed:
        return true;
      case ChannelSocket::Outcome::Malformed:
        logAlways(LogError, "A connection of process %d is closed: malformed message.",
                  static_cast<int>(connection.pid));
        return true;
      case ChannelSocket::Outcome::Message:
        connection.owner->greet(connection.pid, message);
        if (!connection.owner->knows(connection.pid)) return true;
    }
  }
  if (!connection.owner->knows(connection.pid)) return Clock::now() >= connection.deadline;
  connection.owner->connected(connection.pid, std::move(connection.socket));
  return true;
}

}  // namespace

int openChannel(int wanted, const std::shared_ptr<ChannelOwner>& owner) {
  return Acceptor::instance().open(wanted, owner);
}

void closeChannel(int channel) {
  Acceptor::instance().close(channel);
}

void afterConnections(std::function<void()> call) {
  Acceptor::instance().afterConnections(std::move(call));
}

void lookAtConnectionsAgain() {
  Acceptor::instance().wake();
}

UniqueFd connectToChannel(pid_t pid, int channel, std::chrono::milliseconds limit) {
  const std::string path = pathOf(pid, channel);
  UniqueFd socket = path.empty() ? UniqueFd() : connectLocal(path, SOCK_SEQPACKET, limit);
  if (!socket) return socket;
  const auto peer = peerOf(socket.get());
  // The name may have been left behind by an earlier process of that number.
  if (!peer || peer->pid != pid) {
    socket.reset();
    errno = ECONNREFUSED;
  }
  return socket;
}

}  // namespace Tessel::Platform
