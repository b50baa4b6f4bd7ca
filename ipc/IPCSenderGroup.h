// A child process that holds web views, as the main process sees it: it is launched, proves itself,
// gets and loses web views, and dies.
//
// UI thread, but for the handshake, which comes on the acceptor's.
#pragma once

#include "ipc/EventBacklog.h"
#include "platform/base/UniqueFd.h"
#include "platform/channel/Message.h"
#include "webview/RemoteHost.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <vector>

class EventDelivery;
class HandshakeMessage;

class IPCSenderGroup : public RemoteHost {
 public:
  // How long a launch waits for its child. Tests wait less.
  static inline std::chrono::milliseconds handshakeLimit{3000};

  // Has the manager of web views start its children so. Main thread, once.
  static void installFactory();

  // Launches the child: waits until it has proved itself, at most for the limit. isConnected()
  // tells whether it has; if not, the chrome has been told why. The id is never 0.
  explicit IPCSenderGroup(unsigned int groupId);
  // For a child that is there already, behind a connection.
  IPCSenderGroup(unsigned int groupId, int connectionId);
  ~IPCSenderGroup() override;

  unsigned int groupId() const { return groupId_; }
  bool isConnected() const final { return connected_; }
  // While its child is being launched. Any thread.
  bool isAwaitingHandshake() const;
  int connectionId() const final { return connectionId_; }
  int childPid() const final;
  // The text of the last one; "" for none. Any thread.
  String lastError() const;
  const std::vector<IPCSenderWebView*>& webViews() const final { return webViews_; }
  // True from the start of a creation on, and for ever. Any thread.
  bool hasHosted(unsigned int handle) const;
  bool isCreating() const final { return creating_ > 0; }

  IPCSenderWebView* createRemoteWebView(unsigned int handle, const String& windowGroup,
                                        int rotation) final;
  void deleteRemoteWebView(IPCSenderWebView* webView) final;
  void setEnvironment(const String& name, const String& value) const final;
  void setCapabilities(unsigned int handle, const String& text) const final;
  // Sends a message, whatever the group's state.
  void sendMessage(std::unique_ptr<Tessel::Platform::Message> message) const;
  // Ends the child, if it can be reached.
  void shutDown();
  void setError(const String& error) final;

  // The chrome is told of an event or error of the child at once, or, where the child has posted
  // more than is good for the chrome, in its turn or never.
  void post(EventBacklog::Event event);

  // The acceptor's thread.
  void handleHandshake(const HandshakeMessage& message);
  // The child has gone, whoever ended it.
  void connectionDied();

  // Called when a child has proved itself, with the group and the child's pid, before anything is
  // sent to it. Replaces the one before.
  using ConnectedHook = std::function<void(IPCSenderGroup&, int pid)>;
  static void onConnected(ConnectedHook hook);
  // The same when the group is deleted or its child has died.
  using GoneHook = std::function<void(IPCSenderGroup&)>;
  static void onGone(GoneHook hook);

 protected:
  // The next handshake with that key is this group's.
  void expectHandshake(std::uint64_t key);

 private:
  void launch();
  bool writeLaunchRecord();
  // True when the child has proved itself.
  bool waitForHandshake();
  void markDisconnected();
  void processDied();
  void tellOfDropped(std::size_t count) const;

  const unsigned int groupId_;
  std::atomic<bool> connected_ = false;
  std::atomic<int> connectionId_ = -1;
  std::vector<IPCSenderWebView*> webViews_;  // the manager's
  int creating_ = 0;
  const std::unique_ptr<EventDelivery> delivery_;
  Tessel::Platform::UniqueFd settled_;  // readable once the handshake has come to something

  mutable std::mutex mutex_;
  // All below under the mutex.
  int childPid_ = -1;
  String lastError_;
  std::uint64_t handshakeKey_ = 0;
  bool awaitingHandshake_ = false;
  std::set<unsigned int> hosted_;
};
