// Message queues on GLib main contexts. Dispatching works from any thread; delivery, handlers and
// the callbacks of the GLib source belong to the client's thread.
#include "platform/loop/MessageClient.h"

#include "platform/base/Crash.h"
#include "platform/base/ListenerList.h"
#include "platform/base/Log.h"
#include "platform/loop/ClientChannel.h"
#include "platform/loop/Connections.h"
#include "platform/loop/MainThreadWait.h"

#include <glib.h>
#include <pthread.h>
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <future>
#include <mutex>
#include <typeinfo>
#include <vector>

namespace Tessel::Platform {

namespace {

std::atomic<MessageTransport*> installedTransport = nullptr;
thread_local MessageClient* clientOfThisThread = nullptr;

}  // namespace

struct MessageClient::State {
  // A sender that waits for its message. Lives on the sender's stack; guarded by the mutex.
  struct Turn {
    enum { Waiting, Delivered, Refused } outcome = Waiting;
    std::unique_ptr<Message> refusedMessage;
    std::condition_variable over;
  };
  struct Entry {
    std::unique_ptr<Message> message;
    Turn* turn = nullptr;
  };
  // The queue as a GSource.
  struct Source {
    GSource base;
    State* state;
  };
  // The states of all clients.
  struct Registry {
    std::mutex mutex;
    std::vector<std::shared_ptr<State>> states;
  };

  explicit State(GMainContext* wanted)
      : ownsContext(!wanted),
        context(wanted ? g_main_context_ref(wanted) : g_main_context_new()),
        loop(g_main_loop_new(context, FALSE)) {
    static GSourceFuncs functions = {prepare, check, dispatch, nullptr, nullptr, nullptr};
    source = g_source_new(&functions, sizeof(Source));
    reinterpret_cast<Source*>(source)->state = this;
    g_source_set_name(source, "message client");
    // Allows recursion while a message runs the loop. It also avoids that GLib removes the source
    // and adds it again, with two wake-ups, for every message.
    g_source_set_can_recurse(source, TRUE);
    g_source_attach(source, context);
    channel = std::make_shared<ClientChannel>(context, [this](Message& message) {
      // Messages of other processes are never executable.
      deliverPlain(message);
      return !exiting;
    });
  }
  ~State() {
    g_main_loop_unref(loop);
    g_main_context_unref(context);
  }

  static Registry& registry() {
    static auto* const registry = new Registry;  // leaked, like the web-engine thread
    return *registry;
  }

  void push(std::unique_ptr<Message> message);
  bool pushAndWait(std::unique_ptr<Message> message);
  void exit(int status);

  // The mutex is locked.
  bool coalesce(Message& newer);
  void append(Entry entry);
  bool hasWork() const;

  static gboolean prepare(GSource* source, gint* timeout);
  static gboolean check(GSource* source);
  static gboolean dispatch(GSource* source, GSourceFunc, gpointer);
  void deliver(Message& message);
  void deliverPlain(Message& message);

  const std::thread::id thread = std::this_thread::get_id();
  const bool ownsContext;
  GMainContext* const context;
  GMainLoop* const loop;
  GSource* source = nullptr;
  std::shared_ptr<ClientChannel> channel;
  ListenerList<MessageHandler> handlers;  // client's thread

  std::mutex mutex;
  // Guarded by the mutex.
  std::deque<Entry> queue;
  // The loop may be asleep, or about to be, without knowing of any message.
  bool needsWakeup = false;
  std::atomic<bool> exiting = false;  // also read by the client's thread without it
  int exitStatus = 0;
};

void MessageClient::State::push(std::unique_ptr<Message> message) {
  const std::lock_guard lock(mutex);
  if (!coalesce(*message)) append({std::move(message)});
}

bool MessageClient::State::pushAndWait(std::unique_ptr<Message> message) {
  Turn turn;
  std::unique_lock lock(mutex);
  if (exiting) return false;
  append({std::move(message), &turn});
  turn.over.wait(lock, [&] { return turn.outcome != Turn::Waiting; });
  return turn.outcome == Turn::Delivered;
}

bool MessageClient::State::coalesce(Message& newer) {
  auto* const executable = dynamic_cast<ExecutableMessage*>(&newer);
  if (!executable || executable->coalescing() == ExecutableMessage::Coalescing::None) return false;

  // Compares classes too: messages without a number of their own share the number 0.
  const auto waiting = std::find_if(queue.rbegin(), queue.rend(), [&newer](const Entry& entry) {
    const Message& message = *entry.message;
    return message.type() == newer.type() && typeid(message) == typeid(newer);
  });
  if (waiting == queue.rend()) return false;
  if (executable->coalescing() == ExecutableMessage::Coalescing::Merge) {
    static_cast<ExecutableMessage&>(*waiting->message).merge(*executable);
  }
  return true;
}

void MessageClient::State::append(Entry entry) {
  queue.push_back(std::move(entry));
  if (std::exchange(needsWakeup, false)) g_main_context_wakeup(context);
}

void MessageClient::State::exit(int status) {
  {
    const std::lock_guard lock(mutex);
    if (exiting) return;
    exiting = true;
    exitStatus = status;
    // Nothing is delivered any more, so waiting senders need not wait for the loop's end.
    std::erase_if(queue, [](Entry& entry) {
      if (!entry.turn) return false;
      entry.turn->refusedMessage = std::move(entry.message);
      entry.turn->outcome = Turn::Refused;
      entry.turn->over.notify_one();
      return true;
    });
  }
  g_main_loop_quit(loop);
}

bool MessageClient::State::hasWork() const {
  // A loop that is about to enter g_main_loop_run() has not seen the request to quit.
  if (exiting) return g_main_loop_is_running(loop);
  return !queue.empty() && !MainThreadWait::isActive();
}

gboolean MessageClient::State::prepare(GSource* source, gint* timeout) {
  State& state = *reinterpret_cast<Source*>(source)->state;
  *timeout = -1;
  const std::lock_guard lock(state.mutex);
  const bool work = state.hasWork();
  // Messages that arrive during a wait are seen after it, without a wake-up.
  state.needsWakeup = !work && !MainThreadWait::isActive();
  return work;
}

gboolean MessageClient::State::check(GSource* source) {
  State& state = *reinterpret_cast<Source*>(source)->state;
  const std::lock_guard lock(state.mutex);
  state.needsWakeup = false;
  return state.hasWork();
}

gboolean MessageClient::State::dispatch(GSource* source, GSourceFunc, gpointer) {
  State& state = *reinterpret_cast<Source*>(source)->state;
  Entry entry;
  {
    std::unique_lock lock(state.mutex);
    // Checked again: a wait may have begun since the context found the source ready.
    if (!state.hasWork()) return G_SOURCE_CONTINUE;
    if (state.exiting) {
      lock.unlock();
      g_main_loop_quit(state.loop);
      return G_SOURCE_CONTINUE;
    }
    entry = std::move(state.queue.front());
    state.queue.pop_front();
  }
  // One message per turn, so that other sources are served.
  state.deliver(*entry.message);
  // Destroyed before its sender continues: it may hold references into the sender's stack.
  entry.message.reset();
  if (entry.turn) {
    const std::lock_guard lock(state.mutex);
    entry.turn->outcome = Turn::Delivered;
    entry.turn->over.notify_one();
  }
  return G_SOURCE_CONTINUE;
}

void MessageClient::State::deliver(Message& message) {
  if (auto* const executable = dynamic_cast<ExecutableMessage*>(&message)) {
    executable->execute();
  } else {
    deliverPlain(message);
  }
}

void MessageClient::State::deliverPlain(Message& message) {
  handlers.forEach([&message](MessageHandler& handler) { handler.handleMessage(message); });
}

MessageClient::MessageClient(GMainContext* context) : state_(std::make_shared<State>(context)) {
  State::Registry& registry = State::registry();
  const std::lock_guard lock(registry.mutex);
  registry.states.push_back(state_);
  clientOfThisThread = this;
}

MessageClient::~MessageClient() {
  {
    State::Registry& registry = State::registry();
    const std::lock_guard lock(registry.mutex);
    std::erase(registry.states, state_);
  }
  state_->exit(0);
  state_->channel->close();
  if (clientOfThisThread == this) clientOfThisThread = nullptr;
  g_source_destroy(state_->source);
  g_source_unref(state_->source);

  // Outside the lock: destructors of messages may do anything.
  std::deque<State::Entry> leftOver;
  {
    const std::lock_guard lock(state_->mutex);
    leftOver.swap(state_->queue);
  }
}

void MessageClient::dispatchMessage(std::unique_ptr<Message> message) {
  if (message) state_->push(std::move(message));
}

bool MessageClient::dispatchSyncMessage(std::unique_ptr<ExecutableMessage> message) {
  if (isCurrentThread()) {
    message->execute();
    return true;
  }
  // The client may be destroyed once its loop has ended; the state outlives it.
  const std::shared_ptr<State> state = state_;
  return state->pushAndWait(std::move(message));
}

bool MessageClient::dispatchToThread(std::thread::id thread, std::unique_ptr<Message> message) {
  std::shared_ptr<State> state;
  {
    State::Registry& registry = State::registry();
    const std::lock_guard lock(registry.mutex);
    const auto found =
        std::find_if(registry.states.begin(), registry.states.end(),
                     [thread](const auto& candidate) { return candidate->thread == thread; });
    if (found == registry.states.end()) return false;
    state = *found;
  }
  state->push(std::move(message));
  return true;
}

void MessageClient::sendMessage(std::unique_ptr<Message> message, int connectionId) {
  if (MessageTransport* transport = installedTransport) {
    transport->send(std::move(message), connectionId);
  } else {
    sendOver(connectionId, *message);
  }
}

void MessageClient::installTransport(MessageTransport* transport) {
  installedTransport = transport;
}

void MessageClient::installMessageHandler(MessageHandler* handler) {
  state_->handlers.add(handler);
}

void MessageClient::removeMessageHandler(MessageHandler* handler) {
  state_->handlers.remove(handler);
}

int MessageClient::channelId() {
  return state_->channel->id();
}

void MessageClient::registerPID(pid_t pid) {
  state_->channel->registerPID(pid);
}

void MessageClient::deregisterPID(pid_t pid) {
  state_->channel->deregisterPID(pid);
}

void MessageClient::closeConnectionsOf(pid_t pid) {
  state_->channel->closeConnectionsOf(pid);
}

void MessageClient::setHandshakeMode(bool on, MessageHandler* handler) {
  state_->channel->setHandshakeMode(on, handler);
}

void MessageClient::expectChildrenOf(pid_t parent) {
  state_->channel->expectChildrenOf(parent);
}

void MessageClient::serveDuringWaits() {
  state_->channel->serveDuringWaits();
}

void MessageClient::dispatchPulse(int type, int value, pid_t after) {
  const auto push = [state = state_, type, value, after] {
    // The message is destroyed with the state, which owns its queue.
    state->push(executableMessage([state = state.get(), type, value, after] {
      if (after != 0) state->channel->drain(after);
      Pulse pulse(type, value);
      state->deliver(pulse);
    }));
  };
  // Messages of a process may be on a connection that is not accepted yet.
  if (after != 0) {
    afterConnections(push);
  } else {
    push();
  }
}

MessageClient* MessageClient::ofThisThread() {
  return clientOfThisThread;
}

int MessageClient::run() {
  // Asynchronous operations of this thread must complete on its own loop.
  if (state_->ownsContext) g_main_context_push_thread_default(state_->context);
  std::unique_lock lock(state_->mutex);
  if (!state_->exiting) {
    lock.unlock();
    g_main_loop_run(state_->loop);
    lock.lock();
  }
  if (state_->ownsContext) g_main_context_pop_thread_default(state_->context);
  return state_->exitStatus;
}

void MessageClient::exit(int status) {
  state_->exit(status);
}

bool MessageClient::isCurrentThread() const {
  return state_->thread == std::this_thread::get_id();
}

namespace {

std::atomic<MainMessageClient*> mainClient = nullptr;

class WebEngineThreadClient final : public MessageClient {
 public:
  WebEngineThreadClient() : MessageClient(nullptr) {}
};

// Thread and client are leaked: they run until the process ends.
MessageClient* startWebEngineThread() {
  std::promise<MessageClient*> promise;
  std::future<MessageClient*> client = promise.get_future();

  // Signals are for the main thread. A new thread inherits the mask, so that they are blocked from
  // its start.
  sigset_t all;
  sigset_t callers;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &callers);
  std::thread([started = std::move(promise)]() mutable {
    pthread_setname_np(pthread_self(), "web-engine");
    auto* const own = new WebEngineThreadClient;
    started.set_value(own);
    own->run();
  }).detach();
  pthread_sigmask(SIG_SETMASK, &callers, nullptr);

  return client.get();
}

}  // namespace

// Ignored: the scheduler has no use for the priority, and a channel is opened by its listener.
MainMessageClient::MainMessageClient(int /*priority*/, int /*channel*/)
    : MessageClient(g_main_context_default()) {
  MainMessageClient* none = nullptr;
  if (!mainClient.compare_exchange_strong(none, this)) platformCrash(__FILE__, __LINE__, __func__);
  serveConnectionsDuringWaits();
}

MainMessageClient::~MainMessageClient() {
  mainClient = nullptr;
}

MainMessageClient* MainMessageClient::instance() {
  return mainClient;
}

MessageClient* userInterfaceThreadMessageClient() {
  return MainMessageClient::instance();
}

MessageClient* webKitThreadMessageClient() {
  static MessageClient* const client = startWebEngineThread();
  return client;
}

}  // namespace Tessel::Platform
