// Handles the main process's messages in a child process. UI thread.
#include "ipc/IPCReceiverHandler.h"

#include "ipc/CookieExchange.h"
#include "ipc/IPCReceiverWebView.h"
#include "ipc/ProcessMessages.h"
#include "platform/base/Log.h"
#include "platform/graphics/Window.h"
#include "platform/os/Folders.h"
#include "platform/os/Process.h"
#include "webview/WebViewManager.h"
#include "webview/commands/CommandReceiver.h"

#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <memory>

using Tessel::Platform::executableMessage;
using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::MainMessageClient;
using Tessel::Platform::Message;
using Tessel::Platform::Pulse;
using Tessel::Platform::String;
using Tessel::Platform::Graphics::Window;
using Tessel::Platform::Graphics::WindowType;

namespace {

void reply(const Message& message, bool value) {
  if (message.reply()) message.reply()->assign(&value, sizeof value);
}

// The proxy of the application's window with that group.
void makeTopLevel(const String& group) {
  if (Window::topLevelOf(group)) return;
  // Lives as long as the process, like the application's.
  new Window(WindowType::Application, nullptr, {}, {}, {1, 1}, 0, false, group);
}

}  // namespace

void IPCReceiverHandler::handleMessage(Message& message) {
  if (dispatchWebViewCommand(message)) return;
  switch (message.type()) {
    case ShutdownMessage::messageType:
      return shutDown(message);
    case CreateWebViewMessage::messageType:
      return createWebView(static_cast<const CreateWebViewMessage&>(message));
    case DeleteWebViewMessage::messageType:
      return deleteWebView(static_cast<const DeleteWebViewMessage&>(message));
    case SetEnvMessage::messageType: {
      const auto& variable = static_cast<const SetEnvMessage&>(message);
      ::setenv(variable.name().utf8(), variable.value().utf8(), 1);
      return;
    }
    case SetCapabilitiesMessage::messageType: {
      const auto& capabilities = static_cast<const SetCapabilitiesMessage&>(message);
      WebViewManager::instance().setCapabilities(capabilities.handle(), capabilities.text());
      return;
    }
    case ViewQuestionMessage::messageType:
      return askWebView(static_cast<const ViewQuestionMessage&>(message));
    case CookieChangesMessage::messageType:
      return takeCookiesFromParent(static_cast<const CookieChangesMessage&>(message));
    case Pulse::connectionDied:
      return connectionDied(message.integer());
    case Pulse::unblock:
      logAlways(LogError, "Received unexpected unblock message about message %d!",
                message.integer());
      return;
    default:
      logAlways(LogError, "Received unhandled message %d on process %d from process %d",
                message.type(), static_cast<int>(::getpid()),
                static_cast<int>(message.senderPid()));
  }
}

void IPCReceiverHandler::shutDown(const Message& message) const {
  reply(message, true);
  MainMessageClient::instance()->dispatchMessage(
      executableMessage([] { MainMessageClient::instance()->exit(0); }));
}

void IPCReceiverHandler::createWebView(const CreateWebViewMessage& message) const {
  const String group = message.windowGroup();
  makeTopLevel(group);
  const auto make = [&] {
    return std::make_unique<IPCReceiverWebView>(message.handle(), group, mainConnectionId_,
                                                webEngineConnectionId_);
  };
  if (!WebViewManager::instance().addWebView(message.handle(), make(), message.rotation())) {
    logAlways(LogError, "Could not create IPCReceiverWebView!");
    return reply(message, false);
  }
  reply(message, true);
}

void IPCReceiverHandler::askWebView(const ViewQuestionMessage& message) const {
  const auto answer = [number = message.number(), to = mainConnectionId_](const ViewAnswer& its) {
    Tessel::Platform::MessageClient::sendMessage(
        std::make_unique<ViewAnswerMessage>(number, its.good, its.text), to);
  };
  WebView* const webView = WebViewManager::instance().webViewForHandle(message.handle());
  const auto question = viewQuestionOf(message.question());
  if (!webView || !question) return answer({false, "The web view is gone"});
  askHere(*webView, *question, message.script(), answer);
}

void IPCReceiverHandler::deleteWebView(const DeleteWebViewMessage& message) {
  WebViewManager& manager = WebViewManager::instance();
  const unsigned int handle = message.handle();
  reply(message, manager.webViewForHandle(handle) || !manager.remoteWebViewForHandle(handle));
  manager.destroyWebView(handle);
}

void IPCReceiverHandler::connectionDied(int connectionId) const {
  if (connectionId != mainConnectionId_) return;
  logAlways(LogError, "Received unexpected connection death %d from parent process! Exiting %s...",
            connectionId, Tessel::Platform::processName());
  logAlways(LogError, "Exit %s: %d", Tessel::Platform::processName(), 128 + SIGKILL);
  // A killed process cannot remove them; that would be left to the next program.
  Tessel::Platform::removeRegisteredFiles();
  ::kill(0, SIGKILL);
}
