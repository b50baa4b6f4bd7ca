// A child process that hosts web views, on the main process's side: launch, handshake, creation and
// deletion of web views, death.
//
// UI thread, except for the handshake, which is handled on the acceptor's.
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
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <vector>

class EventDelivery;
class HandshakeMessage;

class IPCSenderGroup : public RemoteHost {
 public:
  // The time limit of the handshake. Tests use a shorter one.
  static inline std::chrono::milliseconds handshakeLimit{3000};

  // Registers with the manager of web views as the factory of child processes. Main thread, once.
  static void installFactory();

  // Launches the child and waits for its handshake, up to the limit. isConnected() tells whether it
  // succeeded; if not, the chrome has been told why. The id is never 0.
  explicit IPCSenderGroup(unsigned int groupId);
  // For an existing child, behind a connection.
  IPCSenderGroup(unsigned int groupId, int connectionId);
  ~IPCSenderGroup() override;

  unsigned int groupId() const { return groupId_; }
  bool isConnected() const final { return connected_; }
  // True during the launch of the child. Any thread.
  bool isAwaitingHandshake() const;
  int connectionId() const final { return connectionId_; }
  int childPid() const final;
  // The last error; "" for none. Any thread.
  String lastError() const;
  const std::vector<IPCSenderWebView*>& webViews() const final { return webViews_; }
  // True permanently once a creation has started. Any thread.
  bool hasHosted(unsigned int handle) const;
  bool isCreating() const final { return creating_ > 0; }

  IPCSenderWebView* createRemoteWebView(unsigned int handle, const String& windowGroup,
                                        int rotation) final;
  void deleteRemoteWebView(IPCSenderWebView* webView) final;
  void setEnvironment(const String& name, const String& value) const final;
  void setCapabilities(unsigned int handle, const String& text) const final;
  void ask(unsigned int handle, ViewQuestion question, const String& script,
           const ViewAnswered& answered) final;
  // The child's answer to the question of that number. Others are ignored.
  void takeAnswer(unsigned int number, const ViewAnswer& answer);
  // Sends a message in any state of the group.
  void sendMessage(std::unique_ptr<Tessel::Platform::Message> message) const;
  // Terminates the child, if it can be reached.
  void shutDown();
  void setError(const String& error) final;

  // Reports an event or error of the child to the chrome: immediately, or, if the child posts too
  // many, later or never (see EventDelivery).
  void post(EventBacklog::Event event);

  // The acceptor's thread.
  void handleHandshake(const HandshakeMessage& message);
  // The child has exited, for whatever reason.
  void connectionDied();

  // Called after a child's handshake, with the group and the child's pid, before anything is sent
  // to it. Replaces the previous one.
  using ConnectedHook = std::function<void(IPCSenderGroup&, int pid)>;
  static void onConnected(ConnectedHook hook);
  // Called when the group is deleted or its child has died.
  using GoneHook = std::function<void(IPCSenderGroup&)>;
  static void onGone(GoneHook hook);

 protected:
  // Accepts the next handshake with that key.
  void expectHandshake(std::uint64_t key);

 private:
  // Questions that may wait for an answer.
  static constexpr std::size_t mostQuestions = 256;

  void launch();
  bool writeLaunchRecord();
  // True if the handshake has succeeded.
  bool waitForHandshake();
  void markDisconnected();
  void processDied();
  void tellOfDropped(std::size_t count) const;
  void answerAll(const ViewAnswer& answer);

  const unsigned int groupId_;
  std::atomic<bool> connected_ = false;
  std::atomic<int> connectionId_ = -1;
  std::vector<IPCSenderWebView*> webViews_;  // owned by the manager
  std::map<unsigned int, ViewAnswered> questions_;
  unsigned int lastQuestion_ = 0;
  int creating_ = 0;
  const std::unique_ptr<EventDelivery> delivery_;
  Tessel::Platform::UniqueFd settled_;  // readable once the handshake has succeeded or failed

  mutable std::mutex mutex_;
  // Guarded by the mutex.
  int childPid_ = -1;
  String lastError_;
  std::uint64_t handshakeKey_ = 0;
  bool awaitingHandshake_ = false;
  std::set<unsigned int> hosted_;
};
