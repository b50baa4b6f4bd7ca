// The main function of child processes that host web views. Main thread.
#include "src/ChildWebViewMain.h"

#include "ipc/CookieExchange.h"
#include "ipc/IPCReceiverHandler.h"
#include "ipc/ProcessMessages.h"
#include "platform/base/ErrorReport.h"
#include "platform/base/Log.h"
#include "platform/channel/Channels.h"
#include "platform/graphics/Window.h"
#include "platform/graphics/remote/RemoteWindowSystem.h"
#include "platform/loop/Connections.h"
#include "platform/loop/MessageClient.h"
#include "platform/os/Confinement.h"
#include "platform/os/MemoryStats.h"
#include "platform/os/PageSandbox.h"
#include "platform/os/Process.h"
#include "platform/os/Settings.h"
#include "src/EngineStart.h"
#include "webview/WebViewManager.h"
#include "webview/events/EventMessages.h"

#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <future>
#include <memory>
#include <thread>

using Tessel::Platform::ChannelSocket;
using Tessel::Platform::concat;
using Tessel::Platform::ConnectAttach;
using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::MainMessageClient;
using Tessel::Platform::MessageClient;
using Tessel::Platform::ReceivedMessage;
using Tessel::Platform::Settings;
using Tessel::Platform::sideChannel;
using Tessel::Platform::String;
using Tessel::Platform::UniqueFd;
using Tessel::Platform::waitForRoom;
using Tessel::Platform::Graphics::RemoteWindowSystem;
using Tessel::Platform::Graphics::Window;
using Tessel::Platform::Graphics::WindowSystem;

namespace {

// The main process connects as soon as it has accepted the handshake.
constexpr std::chrono::seconds windowConnectionLimit{10};

// Grace period to exit by itself after the main process has ended.
constexpr std::chrono::seconds timeToEnd{5};

// Maximum length of a reported error in bytes: arguments in it may be long, but it must stay
// readable.
constexpr std::size_t longestError = 1u << 20;

// A fallback thread: the main loop ends this process when it loses the main process, unless the
// main thread is stuck.
void exitWithParent(void* process) {
  pollfd descriptor{*static_cast<const int*>(process), POLLIN, 0};
  while (::poll(&descriptor, 1, -1) < 0 && errno == EINTR) {
  }
  std::this_thread::sleep_for(timeToEnd);
  logAlways(LogError, "The main process has ended, but this one hangs; it is killed.");
  logAlways(LogError, "Exit %s: %d", Tessel::Platform::processName(), 128 + SIGKILL);
  ::kill(0, SIGKILL);
}

void watchParent(pid_t parent) {
  // One parent per process lifetime.
  static int process = -1;
  process = static_cast<int>(::syscall(SYS_pidfd_open, parent, 0));
  // Without a pidfd, connecting shows whether the parent exists.
  if (process < 0) return;
  Tessel::Platform::startNamedDetachedThread("parent-watch", exitWithParent, &process);
}

// Forwards errors to the chrome of the main process.
void forwardErrorsOver(int connection) {
  WebViewManager::instance().forwardErrors([connection](const String& text) {
    MessageClient::sendMessage(
        std::make_unique<ErrorMessage>(String(text.view().substr(0, longestError))), connection);
  });
  Tessel::Platform::setErrorListener(
      [](const String& text) { WebViewManager::instance().informChromeOfLoggedError(text); });
}

// Accepts the single connection through which the main process shows this process's windows.
class WindowChannelOwner final : public Tessel::Platform::ChannelOwner {
 public:
  explicit WindowChannelOwner(pid_t parent) : parent_(parent) {}

  bool knows(pid_t pid) const override { return pid == parent_; }
  bool expects(pid_t) const override { return false; }
  void greet(pid_t, const ReceivedMessage&) override {}
  void connected(pid_t, ChannelSocket socket) override {
    if (std::exchange(taken_, true)) return;
    socket_.set_value(socket.release());
  }
  // Empty on timeout.
  UniqueFd wait() {
    auto socket = socket_.get_future();
    if (socket.wait_for(windowConnectionLimit) != std::future_status::ready) return UniqueFd();
    return socket.get();
  }

 private:
  const pid_t parent_;
  bool taken_ = false;  // used by the acceptor's thread
  std::promise<UniqueFd> socket_;
};

// Its first message: the group in the handles of this process's windows.
unsigned int handleGroupFrom(const UniqueFd& connection) {
  std::uint32_t group = 0;
  pollfd readable{connection.get(), POLLIN, 0};
  constexpr auto limit =
      std::chrono::duration_cast<std::chrono::milliseconds>(windowConnectionLimit);
  if (::poll(&readable, 1, static_cast<int>(limit.count())) != 1 ||
      ::recv(connection.get(), &group, sizeof group, MSG_DONTWAIT) != sizeof group) {
    return 0;
  }
  return group;
}

}  // namespace

int childWebViewMain(unsigned int groupId, int parentPid, int mainChannelId, int webEngineChannelId,
                     unsigned long long handshakeKey) {
  // A process group of its own: killing it, itself included, also ends the engine's helpers, and no
  // other child.
  ::setpgid(0, 0);
  if (const int error = Tessel::Platform::confineProcess(); error != 0) {
    logAlways(LogError, "This process is not confined: %s", std::strerror(error));
  }
  Tessel::Platform::traceStart("child process forked");
  Tessel::Platform::probeSandbox();
  watchParent(parentPid);
  Settings& settings = Settings::instance();
  settings.setApplicationSandbox("webviews");
  const int mainConnection = ConnectAttach(0, parentPid, mainChannelId, sideChannel, waitForRoom);
  if (mainConnection == -1) {
    logAlways(LogError,
              "Child WebView process exiting: could not connect to parent via the main channel!");
    return -1;
  }
  const int webEngineConnection =
      ConnectAttach(0, parentPid, webEngineChannelId, sideChannel, waitForRoom);
  if (webEngineConnection == -1) {
    logAlways(LogError,
              "Child WebView process exiting: could not connect to parent via the webkit channel!");
    return -1;
  }
  auto client = std::make_unique<MainMessageClient>(3, -1);
  forwardErrorsOver(mainConnection);
  IPCReceiverHandler handler(mainConnection, webEngineConnection);
  client->installMessageHandler(&handler);
  client->registerPID(parentPid);
  client->serveDuringWaits();
  const auto windows = std::make_shared<WindowChannelOwner>(parentPid);
  openChannel(Tessel::Platform::windowChannel, windows);
  MessageClient::sendMessage(
      std::make_unique<HandshakeMessage>(groupId, ::getpid(), client->channelId(), handshakeKey),
      mainConnection);
  Tessel::Platform::enableMemoryStatsLogging();

  // After the handshake, since the rest takes long.
  UniqueFd windowConnection = windows->wait();
  Tessel::Platform::closeChannel(Tessel::Platform::windowChannel);
  Tessel::Platform::traceStart("connected to the main process");
  if (!windowConnection) giveUp("The main process has not opened a window connection.");
  disableSessionBusAutolaunch();
  prepareInspector();
  const unsigned int handleGroup = handleGroupFrom(windowConnection);
  if (handleGroup == 0 || !Window::setHandleBase(handleGroup)) {
    giveUp("The main process has no window handles left for this process.");
  }
  auto system = RemoteWindowSystem::create(std::move(windowConnection));
  if (!system) giveUp(noDisplay);
  WindowSystem::install(std::move(system));
  Tessel::Platform::traceStart("display connected");
  startEngine(concat(settings.applicationSandbox(), "-", String::fromUnsignedInteger(groupId)),
              false);
  Tessel::Platform::traceStart("engine started");
  shareCookiesWithParent(mainConnection);

  const int status = client->run();
  client->removeMessageHandler(&handler);
  client.reset();
  return status;
}
