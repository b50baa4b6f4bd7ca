// Message loops: a message queue on a GLib main context, run by one thread.
#pragma once

#include "platform/channel/Message.h"
#include "platform/channel/MessageTransport.h"

#include <memory>
#include <thread>

struct _GMainContext;

namespace Tessel::Platform {

// Handles the plain messages of a client, on the client's thread.
class MessageHandler {
 public:
  virtual ~MessageHandler() = default;
  virtual void handleMessage(Message& message) = 0;
};

// Messages are delivered one at a time, in dispatch order, by the loop of the client's thread.
// While that thread is inside a wait (MainThreadWait) nothing is delivered, even if the wait runs
// the loop: deferred work must not run in the middle of a call. Outside a wait, a message whose
// delivery runs the loop itself (a modal dialog) lets later ones through.
//
// A client is destroyed by its thread, and not from within its own loop.
class MessageClient {
 public:
  virtual ~MessageClient();
  MessageClient(const MessageClient&) = delete;
  MessageClient& operator=(const MessageClient&) = delete;

  // Queues the message. Executable messages are executed in their turn; others go to the installed
  // handlers, in installation order. Never blocks. Any thread. A message not delivered when the
  // loop ends, or dispatched later, is destroyed with the client.
  void dispatchMessage(std::unique_ptr<Message> message);

  // Runs the message on the client's thread and returns afterwards: directly if this is that
  // thread, else through the queue. False if the loop ended first. Any thread.
  bool dispatchSyncMessage(std::unique_ptr<ExecutableMessage> message);

  // Queues the message for the client of that thread. False if that thread has none (any more); the
  // message is then destroyed. Any thread.
  static bool dispatchToThread(std::thread::id thread, std::unique_ptr<Message> message);

  // Sends a message over a connection (ConnectAttach), or over the transport installed in place of
  // all connections. Returns at once, or, if the message has a reply buffer, when the reply has
  // arrived or cannot arrive any more. Without a reply buffer any thread, else the main thread.
  static void sendMessage(std::unique_ptr<Message> message, int connectionId);
  // Not owned; null removes it. For tests.
  static void installTransport(MessageTransport* transport);

  // Not owned; it must be removed before it is destroyed. Client's thread.
  void installMessageHandler(MessageHandler* handler);
  void removeMessageHandler(MessageHandler* handler);

  // The channel through which other processes reach this client, for ConnectAttach. Opened on first
  // use; -1 with errno set on failure. Any thread.
  int channelId();
  // The processes whose messages are delivered. Once deregistered, their later messages over
  // existing connections are dropped, and their waiting senders get no reply. Any thread.
  void registerPID(pid_t pid);
  void deregisterPID(pid_t pid);
  // Any thread.
  void closeConnectionsOf(pid_t pid);
  // Enabled by default. If disabled, the first message of an unregistered process goes to the
  // handler, on the acceptor's thread, which may register the process; a process still unregistered
  // afterwards is disconnected. The handler is not owned. When enabled again, the handler still
  // gets such messages at a limited rate, to report late processes. Any thread.
  void setHandshakeMode(bool on, MessageHandler* handler = nullptr);
  // Forked processes may connect before they are registered, however many others do. Any thread.
  void expectChildrenOf(pid_t parent);
  // Also delivers messages of other processes while the main thread, which is the client's, is
  // inside a wait: processes that wait for this one must not wait for what it is waiting for.
  void serveDuringWaits();
  // Queues a pulse for the handlers; one about a process comes after all of that process's
  // messages. Any thread.
  void dispatchPulse(int type, int value, pid_t after = 0);
  // The client of the calling thread; null if it has none.
  static MessageClient* ofThisThread();

  // Runs the loop until exit() is called; returns its argument. Called once, by the thread that
  // created the client.
  virtual int run();
  // Ends the loop after the current message. May be called before run(), which then returns at
  // once. The first status counts. Any thread.
  void exit(int status);

  bool isCurrentThread() const;

 protected:
  struct State;
  // The context is referenced; null for a context of the client's own.
  explicit MessageClient(_GMainContext* context);
  State& state() const { return *state_; }

 private:
  std::shared_ptr<State> state_;
};

// The client of a process's main thread, on the default GLib main context. One per process, created
// by the main thread.
class MainMessageClient final : public MessageClient {
 public:
  // Thread priority (0 leaves it unchanged; others are for systems that support them), and the
  // channel to listen on (-1 for a new one).
  MainMessageClient(int priority, int channel);
  ~MainMessageClient() override;

  // Null before it is created and after it is destroyed.
  static MainMessageClient* instance();
};

// The client of the user-interface thread: the main client. Null if there is none.
MessageClient* userInterfaceThreadMessageClient();

// The client of the web-engine thread, for messages that must be answered while the main thread
// waits. Thread and client start with the first call, from any thread, and last as long as the
// process.
MessageClient* webKitThreadMessageClient();

}  // namespace Tessel::Platform
