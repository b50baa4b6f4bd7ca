// A child process that hosts web views, on the main process's side. UI thread, except for the
// handshake, which is handled on the acceptor's.
#include "ipc/IPCSenderGroup.h"

#include "ipc/ChildLauncher.h"
#include "ipc/CookieExchange.h"
#include "ipc/EventDelivery.h"
#include "ipc/IPCSenderHandler.h"
#include "ipc/ProcessMessages.h"
#include "platform/base/Log.h"
#include "platform/base/RandomKey.h"
#include "platform/loop/Connections.h"
#include "platform/loop/MainThreadWait.h"
#include "platform/loop/MessageClient.h"
#include "platform/loop/MethodDelegate.h"
#include "webview/WebView.h"
#include "webview/WebViewManager.h"
#include "webview/commands/IPCSenderWebView.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

using Tessel::Platform::concat;
using Tessel::Platform::ConnectAttach;
using Tessel::Platform::ConnectDetach;
using Tessel::Platform::executableMessage;
using Tessel::Platform::GuardedPointer;
using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::MainMessageClient;
using Tessel::Platform::MainThreadWait;
using Tessel::Platform::MessageClient;
using Tessel::Platform::MethodDelegate0;
using Tessel::Platform::String;
using Tessel::Platform::webKitThreadMessageClient;

namespace {

// How long the main thread waits for an unresponsive child.
constexpr std::chrono::seconds silenceLimit{30};
// The same during shutdown, when the child has nothing else to do.
constexpr std::chrono::seconds shutdownLimit{3};
// The environment variable with the network device that sockets are bound to; passed on to child
// processes.
constexpr const char* deviceVariable = "SOCK_SO_BINDTODEVICE";

IPCSenderGroup::ConnectedHook& connectedHook() {
  static auto* const hook = new IPCSenderGroup::ConnectedHook;
  return *hook;
}

IPCSenderGroup::GoneHook& goneHook() {
  static auto* const hook = new IPCSenderGroup::GoneHook;
  return *hook;
}

template <typename Visit>
void forBothClients(Visit visit) {
  if (MainMessageClient* const client = MainMessageClient::instance()) visit(*client);
  visit(*webKitThreadMessageClient());
}

// While in scope, during a launch, the main client accepts unregistered processes. Launches nest:
// the chrome, served during the wait, may request another one.
class HandshakeScope {
 public:
  HandshakeScope() {
    if (++open_ == 1) {
      MainMessageClient::instance()->setHandshakeMode(false, &IPCSenderHandler::instance());
    }
  }
  ~HandshakeScope() {
    if (--open_ == 0) MainMessageClient::instance()->setHandshakeMode(true);
  }
  HandshakeScope(const HandshakeScope&) = delete;
  HandshakeScope& operator=(const HandshakeScope&) = delete;

 private:
  static inline int open_ = 0;
};

// Compares all bits of both in constant time.
bool isSameKey(std::uint64_t one, std::uint64_t other) {
  const volatile std::uint64_t difference = one ^ other;
  return difference == 0;
}

}  // namespace

void IPCSenderGroup::onConnected(ConnectedHook hook) {
  connectedHook() = std::move(hook);
}

void IPCSenderGroup::onGone(GoneHook hook) {
  goneHook() = std::move(hook);
}

void IPCSenderGroup::installFactory() {
  WebViewManager::instance().setRemoteHostFactory(
      [](unsigned int groupId) -> RemoteHost* { return new IPCSenderGroup(groupId); });
}

IPCSenderGroup::IPCSenderGroup(unsigned int groupId)
    : groupId_(groupId),
      delivery_(new EventDelivery([this](std::size_t count) { tellOfDropped(count); })),
      settled_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  launch();
}

IPCSenderGroup::IPCSenderGroup(unsigned int groupId, int connectionId)
    : groupId_(groupId),
      connected_(true),
      connectionId_(connectionId),
      delivery_(new EventDelivery([this](std::size_t count) { tellOfDropped(count); })) {}

IPCSenderGroup::~IPCSenderGroup() {
  IPCSenderHandler& handler = IPCSenderHandler::instance();
  handler.removeGroup(groupId_, this);
  answerAll({false, "The web view is gone"});
  const int pid = childPid();
  const bool wasConnected = connected_;
  if (wasConnected) shutDown();
  if (goneHook()) goneHook()(*this);
  if (pid == -1) return;
  handler.removeProcess(pid, this);
  forBothClients([&](MessageClient& client) {
    client.deregisterPID(pid);
    // A child that cannot be told to exit detects the closed connection.
    if (!wasConnected) client.closeConnectionsOf(pid);
  });
  ConnectDetach(connectionId_);
}

int IPCSenderGroup::childPid() const {
  const std::lock_guard lock(mutex_);
  return childPid_;
}

String IPCSenderGroup::lastError() const {
  const std::lock_guard lock(mutex_);
  return lastError_;
}

bool IPCSenderGroup::isAwaitingHandshake() const {
  const std::lock_guard lock(mutex_);
  return awaitingHandshake_;
}

bool IPCSenderGroup::hasHosted(unsigned int handle) const {
  const std::lock_guard lock(mutex_);
  return hosted_.contains(handle);
}

void IPCSenderGroup::launch() {
  if (launchPipeFd == -1) {
    return setError("OutProcess webviews can only be created from the main process.");
  }
  std::uint64_t key = 0;
  if (!Tessel::Platform::randomKey(&key)) return setError("Failed to get random handshake key");
  expectHandshake(key);
  IPCSenderHandler& handler = IPCSenderHandler::instance();
  handler.install();
  handler.addGroup(groupId_, this);
  forBothClients([](MessageClient& client) { client.expectChildrenOf(childLauncherPid()); });
  {
    const HandshakeScope scope;
    if (!writeLaunchRecord()) {
      return setError(concat("Error writing launch data to child launcher pipe", ": ",
                             std::strerror(errno), "(", String::fromSignedInteger(errno), ")!"));
    }
    // Handshake errors have been reported already.
    if (!waitForHandshake()) {
      if (lastError().isEmpty()) setError("Did not receive handshake!");
      return;
    }
  }
  connected_ = true;
  if (connectedHook()) connectedHook()(*this, childPid());
  tellCookiesTo(*this);
  if (const char* device = std::getenv(deviceVariable)) {
    setEnvironment(deviceVariable, device);
  }
}

void IPCSenderGroup::expectHandshake(std::uint64_t key) {
  const std::lock_guard lock(mutex_);
  handshakeKey_ = key;
  awaitingHandshake_ = true;
}

bool IPCSenderGroup::writeLaunchRecord() {
  LaunchRecord record{};
  {
    const std::lock_guard lock(mutex_);
    record.handshakeKey = handshakeKey_;
  }
  record.groupId = groupId_;
  record.mainChannelId = MainMessageClient::instance()->channelId();
  record.webEngineChannelId = webKitThreadMessageClient()->channelId();
  if (record.mainChannelId < 0 || record.webEngineChannelId < 0) return false;
  const auto* bytes = reinterpret_cast<const char*>(&record);
  for (std::size_t written = 0; written < sizeof record;) {
    const ssize_t count = ::write(launchPipeFd, bytes + written, sizeof record - written);
    if (count >= 0) {
      written += static_cast<std::size_t>(count);
    } else if (errno != EINTR && errno != EAGAIN) {
      return false;
    }
  }
  return true;
}

bool IPCSenderGroup::waitForHandshake() {
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + handshakeLimit;
  MainThreadWait wait;
  std::vector<pollfd> own;
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0) return false;
    own.assign(1, pollfd{settled_.get(), POLLIN, 0});
    if (wait.poll(own, left)) return childPid() != -1;
  }
}

void IPCSenderGroup::handleHandshake(const HandshakeMessage& message) {
  {
    const std::lock_guard lock(mutex_);
    // Use the kernel's pid; the one in the message is only claimed.
    if (!awaitingHandshake_ || !isSameKey(message.key(), handshakeKey_) ||
        message.pid() != message.senderPid()) {
      logAlways(LogError, "Someone unknown was trying to handshake with me!");
      return;
    }
    handshakeKey_ = 0;
    awaitingHandshake_ = false;
  }
  forBothClients([&](MessageClient& client) { client.registerPID(message.pid()); });
  connectionId_ =
      ConnectAttach(0, message.pid(), message.channelId(), Tessel::Platform::sideChannel, 0);
  if (connectionId_ == -1) {
    forBothClients([&](MessageClient& client) { client.deregisterPID(message.pid()); });
    setError("Could not connect to process!");
  } else {
    Tessel::Platform::killSilentPeer(connectionId_, silenceLimit);
    IPCSenderHandler::instance().addProcess(message.pid(), this);
    const std::lock_guard lock(mutex_);
    childPid_ = message.pid();
  }
  ::eventfd_write(settled_.get(), 1);
}

IPCSenderWebView* IPCSenderGroup::createRemoteWebView(unsigned int handle,
                                                      const String& windowGroup, int rotation) {
  if (!connected_) return nullptr;
  {
    const std::lock_guard lock(mutex_);
    hosted_.insert(handle);
  }
  ++creating_;
  CreateWebViewMessage::Reply reply;
  sendMessage(std::make_unique<CreateWebViewMessage>(handle, windowGroup, rotation, &reply));
  --creating_;
  if (!reply.value()) {
    setError("Could not create webview!");
    return nullptr;
  }
  return webViews_.emplace_back(new IPCSenderWebView(this, handle));
}

void IPCSenderGroup::setEnvironment(const String& name, const String& value) const {
  sendMessage(std::make_unique<SetEnvMessage>(name, value));
}

void IPCSenderGroup::setCapabilities(unsigned int handle, const String& text) const {
  sendMessage(std::make_unique<SetCapabilitiesMessage>(handle, text));
}

void IPCSenderGroup::ask(unsigned int handle, ViewQuestion question, const String& script,
                         const ViewAnswered& answered) {
  if (!connected_) return answered({false, "The web view's process has ended"});
  // Those that are not answered are of web views that went, or of a process that hangs.
  if (questions_.size() >= mostQuestions) {
    const auto oldest = questions_.extract(questions_.begin());
    oldest.mapped()({false, "There are too many questions"});
  }
  questions_.emplace(++lastQuestion_, answered);
  sendMessage(std::make_unique<ViewQuestionMessage>(lastQuestion_, handle,
                                                    static_cast<int>(question), script));
}

void IPCSenderGroup::takeAnswer(unsigned int number, const ViewAnswer& answer) {
  const auto question = questions_.extract(number);
  if (question) question.mapped()(answer);
}

void IPCSenderGroup::answerAll(const ViewAnswer& answer) {
  for (const auto& [number, answered] : std::exchange(questions_, {})) answered(answer);
}

void IPCSenderGroup::deleteRemoteWebView(IPCSenderWebView* webView) {
  std::erase(webViews_, webView);
  if (!connected_) return;
  DeleteWebViewMessage::Reply reply;
  const GuardedPointer<IPCSenderGroup> self(this);
  sendMessage(std::make_unique<DeleteWebViewMessage>(webView->handle(), &reply));
  if (self && !reply.value()) setError("Could not delete webview!");
}

void IPCSenderGroup::sendMessage(std::unique_ptr<Tessel::Platform::Message> message) const {
  MessageClient::sendMessage(std::move(message), connectionId_);
}

void IPCSenderGroup::shutDown() {
  if (!connected_) return;
  Tessel::Platform::killSilentPeer(connectionId_, shutdownLimit);
  ShutdownMessage::Reply reply;
  sendMessage(std::make_unique<ShutdownMessage>(&reply));
  if (!reply.value()) setError("Could not shut down process!");
}

void IPCSenderGroup::setError(const String& error) {
  if (!error.isEmpty()) {
    WebViewManager::instance().informChromeOfError(concat("IPCSenderGroup for process ",
                                                          String::fromSignedInteger(childPid()),
                                                          " encountered error: ", error));
  }
  connected_ = false;
  const std::lock_guard lock(mutex_);
  lastError_ = error;
  handshakeKey_ = 0;
  awaitingHandshake_ = false;
}

void IPCSenderGroup::post(EventBacklog::Event event) {
  delivery_->post(std::move(event));
}

void IPCSenderGroup::tellOfDropped(std::size_t count) const {
  WebViewManager::instance().informChromeOfError(concat(
      "WebView group ", String::fromUnsignedInteger(groupId_), " (child process ",
      String::fromSignedInteger(childPid()),
      ") posts more events than are told: ", String(std::to_string(count)), " were dropped."));
}

void IPCSenderGroup::connectionDied() {
  answerAll({false, "The web view's process has ended"});
  // Its last events may explain the cause.
  delivery_->deliverAll();
  const int pid = childPid();
  forBothClients([&](MessageClient& client) { client.deregisterPID(pid); });
  WebViewManager::instance().informChromeOfError(
      concat("WebView group ", String::fromUnsignedInteger(groupId_), " (child process ",
             String::fromSignedInteger(pid), ") has died unexpectedly!"));
  IPCSenderHandler::instance().removeProcess(pid, this);
  markDisconnected();
  if (goneHook()) goneHook()(*this);
  MainMessageClient::instance()->dispatchMessage(
      executableMessage(MethodDelegate0<IPCSenderGroup>(this, &IPCSenderGroup::processDied)));
}

void IPCSenderGroup::markDisconnected() {
  connected_ = false;
  ConnectDetach(connectionId_.exchange(-1));
  const std::lock_guard lock(mutex_);
  childPid_ = -1;
}

void IPCSenderGroup::processDied() {
  WebViewManager& manager = WebViewManager::instance();
  // Each is removed from the list when destroyed, and the group ends with the last one.
  std::vector<unsigned int> handles;
  for (const IPCSenderWebView* const webView : webViews_) handles.push_back(webView->handle());
  for (const unsigned int handle : handles) manager.remoteWebViewCrashed(handle);
}
