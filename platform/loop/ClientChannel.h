// What a message client hears from other processes: its channel, the processes it takes messages
// from, and their connections.
//
// Messages are delivered by the client's thread. What is said below to be for any thread may be
// called by the acceptor's.
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
  // False when no more is to be delivered: the client's loop ends.
  using Deliver = std::function<bool(Message&)>;

  ClientChannel(_GMainContext* context, Deliver deliver);
  ~ClientChannel() override;

  // Opens the channel when first asked; -1 with errno set when it cannot be. Any thread.
  int id();
  // Any thread. What a process that has been taken off still sends is dropped.
  void registerPID(pid_t pid);
  void deregisterPID(pid_t pid);
  void closeConnectionsOf(pid_t pid);
  // Any thread.
  void setHandshakeMode(bool on, MessageHandler* handshakeHandler);
  void expectChildrenOf(pid_t parent);

  // From now on the waits of the main thread serve these connections. Main thread.
  void serveDuringWaits();
  // Delivers what the process has sent so far. Client's thread, outside waits.
  void drain(pid_t pid);
  // Takes no more. Client's thread.
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
  std::vector<std::shared_ptr<IncomingConnection>> connectionsOf(pid_t pid) const;  // 0: of all

  _GMainContext* const context_;
  const Deliver deliver_;
  bool servedDuringWaits_ = false;
  UniqueFd arrived_;  // tells a wait of a connection that it does not poll yet

  mutable std::mutex mutex_;
  // All below under the mutex.
  int id_ = -1;
  bool closed_ = false;
  std::set<pid_t> registered_;
  MessageHandler* handshakeHandler_ = nullptr;  // from the first handshake on
  bool inHandshake_ = false;
  int unexpectedMessages_ = 0;  // passed on since it was switched on, or in this interval
  std::chrono::steady_clock::time_point unexpectedSince_{};
  pid_t expectedParent_ = 0;
  std::vector<std::shared_ptr<IncomingConnection>> connections_;
};

}  // namespace Tessel::Platform
