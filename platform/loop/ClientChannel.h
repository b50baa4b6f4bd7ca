// Messages of other processes to a message client: its channel, the registered processes, and their
// connections.
//
// Messages are delivered on the client's thread. Functions marked "any thread" may be called by the
// acceptor.
#pragma once

#include "platform/channel/Channels.h"
#include "platform/channel/Message.h"
#include "platform/loop/MainThreadWait.h"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <vector>

struct _GMainContext;

namespace Tessel::Platform {

class IncomingConnection;
class MessageHandler;

class ClientChannel final : public ChannelOwner,
                            public MainThreadWait::Participant,
                            public std::enable_shared_from_this<ClientChannel> {
 public:
  // False if nothing more is to be delivered: the client's loop ends.
  using Deliver = std::function<bool(Message&)>;

  ClientChannel(_GMainContext* context, Deliver deliver);
  ~ClientChannel() override;

  // Opens the channel on first use; -1 with errno set on failure. Any thread.
  int id();
  // Any thread. Later messages of a deregistered process are dropped.
  void registerPID(pid_t pid);
  void deregisterPID(pid_t pid);
  void closeConnectionsOf(pid_t pid);
  // Any thread.
  void setHandshakeMode(bool on, MessageHandler* handshakeHandler);
  void expectChildrenOf(pid_t parent);

  // From now on waits of the main thread serve these connections. Main thread.
  void serveDuringWaits();
  // Delivers what the process has sent so far. Client's thread, outside waits.
  void drain(pid_t pid);
  // Stops accepting. Client's thread.
  void close();

  bool isServedDuringWaits() const { return servedDuringWaits_; }
  bool deliver(Message& message) const { return deliver_(message); }
  void forget(IncomingConnection& connection);

  bool knows(pid_t pid) const override;
  bool expects(pid_t pid) const override;
  void greet(pid_t pid, const ReceivedMessage& message) override;
  void connected(pid_t pid, ChannelSocket socket) override;
  void appendPollDescriptors(std::vector<pollfd>& descriptors) const override;
  void serve() override;

 private:
  std::vector<std::shared_ptr<IncomingConnection>> connectionsOf(pid_t pid) const;  // 0: all

  _GMainContext* const context_;
  const Deliver deliver_;
  bool servedDuringWaits_ = false;
  UniqueFd arrived_;  // wakes a wait that does not poll a new connection yet

  mutable std::mutex mutex_;
  // Guarded by the mutex.
  int id_ = -1;
  bool closed_ = false;
  std::set<pid_t> registered_;
  MessageHandler* handshakeHandler_ = nullptr;  // set by the first handshake
  bool inHandshake_ = false;
  int unexpectedMessages_ = 0;  // passed on since enabled, or in this interval
  std::chrono::steady_clock::time_point unexpectedSince_{};
  pid_t expectedParent_ = 0;
  std::vector<std::shared_ptr<IncomingConnection>> connections_;
};

}  // namespace Tessel::Platform
