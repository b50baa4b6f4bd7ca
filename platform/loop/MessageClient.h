// Message loops: a queue of messages on a GLib main context, which one thread runs.
#pragma once

#include "platform/channel/Message.h"
#include "platform/channel/MessageTransport.h"

#include <memory>
#include <thread>

struct _GMainContext;

namespace Tessel::Platform {

// Receives the plain messages of a client, on the client's thread.
class MessageHandler {
 public:
  virtual ~MessageHandler() = default;
  virtual void handleMessage(Message& message) = 0;
};

// Messages are delivered one at a time, in the order of their dispatch, by the loop of the
// client's thread. While that thread is inside a wait (MainThreadWait) nothing is delivered, even
// if the wait runs the loop: deferred work must not run in the middle of somebody's call. Outside
// a wait, a message whose delivery runs the loop itself (a modal dialog) lets later ones through.
//
// A client is destroyed by its thread, and not from within its own loop.
class MessageClient {
 public:
  virtual ~MessageClient();
  MessageClient(const MessageClient&) = delete;
  MessageClient& operator=(const MessageClient&) = delete;

  // Queues the message. Executable messages run when their turn comes; others go to the installed
  // handlers, in the order of installation. Never blocks. Any thread. A message whose turn has not
  // come when the loop ends, or that is dispatched later, is destroyed with the client.
  void dispatchMessage(std::unique_ptr<Message> message);

  // Runs the message on the client's thread and returns afterwards: at once when this is that
  // thread, else through the queue. False when the loop ended before its turn came. Any thread.
  bool dispatchSyncMessage(std::unique_ptr<ExecutableMessage> message);

  // Queues the message for the client that the thread made. False when that thread has none, or
  // none any more; the message is destroyed then. Any thread.
  static bool dispatchToThread(std::thread::id thread, std::unique_ptr<Message> message);

  // Sends a message over a connection (ConnectAttach), or over the transport that was installed in
  // place of all of them. Returns at once, or, where the message has a reply buffer, when the reply
  // is in there or none will come. Without a reply buffer any thread, else the main thread.
  static void sendMessage(std::unique_ptr<Message> message, int connectionId);
  // Not owned; null takes it away. For tests.
  static void installTransport(MessageTransport* transport);

  // The handler is not owned and must be removed before it dies. Client's thread.
  void installMessageHandler(MessageHandler* handler);
  void removeMessageHandler(MessageHandler* handler);

  // The number of the channel on which other processes reach this client, for ConnectAttach. It is
  // opened when first asked for; -1 with errno set when it cannot be. Any thread.
  int channelId();
  // The processes whose messages are delivered. What a process still sends over connections that
  // it has when it is taken off the list is dropped; whoever waits gets no answer. Any thread.
  void registerPID(pid_t pid);
  void deregisterPID(pid_t pid);
  // Any thread.
  void closeConnectionsOf(pid_t pid);
  // On unless it is switched off: then the first message of a process that is not registered goes
  // to the handler, on the acceptor's thread, which may register the process. Whoever is not
  // registered afterwards is cut off. The handler is not owned. Switched on again, the handler
  // still gets such messages, as long as they are few: it tells of who comes too late. Any thread.
  void setHandshakeMode(bool on, MessageHandler* handler = nullptr);
  // Processes that this one has forked may connect before they are registered, however many others
  // do. Any thread.
  void expectChildrenOf(pid_t parent);
  // Messages of other processes are also delivered while the client's thread, the main thread, is
  // inside a wait: those who wait for this process must not wait for what it is waiting for.
  void serveDuringWaits();
  // Queues a pulse for the handlers; one about a process comes after all that the process has sent.
  // Any thread.
  void dispatchPulse(int type, int value, pid_t after = 0);
  // The client that the calling thread made; null when it has none.
  static MessageClient* ofThisThread();

  // Runs the loop until exit() is called; the result is what exit() was given. Called once, by
  // the thread that made the client.
  virtual int run();
  // Ends the loop after the message that is being delivered. Also before run(), which then
  // returns at once. The first status stands. Any thread.
  void exit(int status);

  bool isCurrentThread() const;

 protected:
  struct State;
  // The context is referenced; null means one of the client's own.
  explicit MessageClient(_GMainContext* context);
  State& state() const { return *state_; }

 private:
  std::shared_ptr<State> state_;
};

// The client of a process's main thread, on the default GLib main context. One per process; it
// must be made by the main thread.
class MainMessageClient final : public MessageClient {
 public:
  // Priority of its thread (0 leaves it; others are for systems with priorities to give), and the
  // channel to listen on (-1 for a channel of its own).
  MainMessageClient(int priority, int channel);
  ~MainMessageClient() override;

  // Null before it is made and after it is gone.
  static MainMessageClient* instance();
};

// The client of the user-interface thread: the main client. Null while there is none.
MessageClient* userInterfaceThreadMessageClient();

// The client of the web-engine thread, which serves what must be answered while the main thread
// is waiting. Thread and client start with the first call, from any thread, and last as long as
// the process.
MessageClient* webKitThreadMessageClient();

}  // namespace Tessel::Platform
