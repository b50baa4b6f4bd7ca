// Owns all web views of a process.
#include "webview/WebViewManager.h"

#include "platform/base/Log.h"
#include "platform/graphics/Screen.h"
#include "platform/graphics/Window.h"
#include "platform/loop/GuardedPointerDeleter.h"
#include "platform/loop/MessageClient.h"
#include "platform/loop/MethodDelegate.h"
#include "platform/os/Settings.h"
#include "registry/ChromeChannel.h"
#include "registry/NativeFunctions.h"
#include "webview/WebInspectorClient.h"
#include "webview/WebView.h"
#include "webview/commands/IPCSenderWebView.h"
#include "webview/events/EventFields.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

using Tessel::Platform::concat;
using Tessel::Platform::deleteGuardedObject;
using Tessel::Platform::executableMessage;
using Tessel::Platform::GuardedPin;
using Tessel::Platform::GuardedPointer;
using Tessel::Platform::GuardedPointerDeleter;
using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::LogNotice;
using Tessel::Platform::MainMessageClient;
using Tessel::Platform::MethodDelegate0;
using Tessel::Platform::MethodDelegate1;
using Tessel::Platform::MethodDelegate3;
using Tessel::Platform::Settings;
using Tessel::Platform::String;
using Tessel::Platform::traceStart;
using Tessel::Platform::Graphics::Screen;
using Tessel::Platform::Graphics::Window;

// Rejects numbers out of the range of groups.
template <>
struct arguments::Value<arguments::ProcessGroup> {
  static bool parse(Text where, int& group) {
    if (std::strcmp(where, "InProcess") == 0) {
      group = WebViewManager::inThisProcess;
    } else if (std::strcmp(where, "OutProcess") == 0) {
      group = WebViewManager::inNewProcess;
    } else {
      const unsigned long number = lenientNumber(where);
      if (number > std::numeric_limits<unsigned int>::max()) return false;
      group = static_cast<int>(number);
    }
    return true;
  }
};

namespace {

void reportNoWindowGroup(unsigned int handle, const String& windowGroup) {
  WebViewManager::instance().informChromeOfError(
      concat("Web view ", String::fromUnsignedInteger(handle),
             " cannot be shown: there is no window group \"", windowGroup, "\"."));
}

struct WebViewFunctions {
  static unsigned int create(const char* windowGroup, int processGroup) {
    return WebViewManager::instance().createWebView(windowGroup, processGroup);
  }
  static String list() { return fields::textOf(WebViewManager::instance().takeWebViews()); }
  static void destroy(unsigned int view) { WebViewManager::instance().destroyWebView(view); }
};

}  // namespace

WebViewManager& WebViewManager::instance() {
  static auto* manager = new WebViewManager;
  return *manager;
}

WebViewManager::WebViewManager() : inspector_(std::make_unique<WebInspectorClient>(*this)) {
  BindingManager& bindings = BindingManager::instance();
  arguments::registerFunctions<"WebViewFunctions", WebViewFunctions>(bindings);
  registerInspectorFunctions(bindings);
  bindings.setErrorSink([this](const String& error) { informChromeOfError(error); });
}

WebViewManager::~WebViewManager() = default;

WebViewManager::WebViewHandle WebViewManager::createWebView(const std::string& windowGroup,
                                                            int processGroup) {
  if (shuttingDown_) {
    informChromeOfError("No web view is created: the application is shutting down.");
    return 0;
  }
  traceStart("web view requested");
  const WebViewHandle handle = ++lastHandle_;
  const int rotation = Screen::primaryScreen().rotation();
  if (processGroup != inThisProcess && keptInThisProcess_) {
    logAlways(LogNotice, "Web view %u is made in this process: %s.", handle, keptInThisProcess_);
    processGroup = inThisProcess;
  }
  // Those of other processes are entered when they are there.
  if (processGroup == inThisProcess) created_.emplace(handle, false);
  if (processGroup != inThisProcess) {
    if (!Window::topLevelOf(windowGroup)) {
      reportNoWindowGroup(handle, windowGroup);
    } else if (!createRemoteWebView(handle, windowGroup, processGroup, rotation)) {
      return 0;
    }
  } else if (handle == rootHandle) {
    createInProcessWebView(handle, windowGroup, rotation);
  } else {
    MainMessageClient::instance()->dispatchMessage(
        executableMessage(MethodDelegate3<WebViewManager, WebViewHandle, const String&, int>(
            this, &WebViewManager::createInProcessWebView, handle, windowGroup, rotation)));
  }
  return handle;
}

WebView* WebViewManager::createOwnWebView(const String& windowGroup) {
  constexpr int overOthers = 1 << 20;
  if (shuttingDown_) return nullptr;
  const WebViewHandle handle = ++lastHandle_;
  createInProcessWebView(handle, windowGroup, Screen::primaryScreen().rotation());
  WebView* const webView = webViewForHandle(handle);
  if (!webView) return nullptr;
  webView->setOwnWindow();
  webView->setZOrder(overOthers);
  webView->setWebEventEnabled(OrvWebEvent::Destroyed, true);
  closing_.insert(handle);
  return webView;
}

int WebViewManager::freeGroupId() const {
  int id = static_cast<int>(groups_.size()) + 1;
  while (groups_.contains(id)) ++id;
  return id;
}

// False if the group is new and its process could not be started.
bool WebViewManager::createRemoteWebView(WebViewHandle handle, const std::string& windowGroup,
                                         int processGroup, int rotation) {
  const int id = processGroup == inNewProcess ? freeGroupId() : processGroup;
  const auto known = groups_.find(id);
  const bool isNew = known == groups_.end();
  if (isNew && !makeRemoteHost_) {
    informChromeOfError("This process cannot create web views in other processes.");
    return false;
  }
  auto* const host = isNew ? makeRemoteHost_(static_cast<unsigned int>(id)) : known->second;
  const GuardedPin<RemoteHost> pin(host);
  IPCSenderWebView* const remote = host->createRemoteWebView(handle, windowGroup, rotation);
  if (remote) {
    // The chrome's calls are served while the child starts and may have created a group of that id.
    groups_.emplace(id, host);
    addRemoteWebView(remote);
    if (shuttingDown_) destroyWebView(handle);  // shutdown began while the child started
  } else if (isNew) {
    deleteGuardedObject(host);
    return false;
  } else {
    // The process may have died during the creation, with its other web views.
    dropIfUnused(host);
  }
  return true;
}

// Deletion is deferred: the host may be on the call stack.
void WebViewManager::dropIfUnused(RemoteHost* host) {
  if (!host->webViews().empty() || host->isCreating()) return;
  std::erase_if(groups_, [&](const auto& item) { return item.second == host; });
  GuardedPointerDeleter::deleteGuardedPointer(host);
}

bool WebViewManager::addWebView(WebViewHandle handle, std::unique_ptr<WebView> webView,
                                int rotation) {
  if (webViews_.contains(handle)) return false;
  WebView* const added = webView.release();
  webViews_.emplace(handle, added);
  handles_.emplace(added, handle);
  // Before initialize, which may send Created.
  created_.emplace(handle, false);
  if (added->initialize(added->windowGroup(), rotation)) return true;
  destroyWebView(handle);
  return false;
}

void WebViewManager::createInProcessWebView(WebViewHandle handle, const String& windowGroup,
                                            int rotation) {
  if (shuttingDown_) {
    created_.erase(handle);
    return;
  }
  auto* webView = new WebView(handle, windowGroup);
  webViews_.emplace(handle, webView);
  handles_.emplace(webView, handle);
  if (handle == rootHandle) publishRoot(webView);
  if (!webView->initialize(windowGroup, rotation)) reportNoWindowGroup(handle, windowGroup);
  inspector_->addInspectable(handle);
  traceStart("web view made");
}

void WebViewManager::destroyWebView(WebViewHandle handle) {
  inspector_->removeInspectable(handle);
  created_.erase(handle);
  webProcesses_.erase(handle);
  const auto found = webViews_.find(handle);
  if (found != webViews_.end()) {
    WebView* webView = found->second;
    webViews_.erase(found);
    handles_.erase(webView);
    if (handle == rootHandle) publishRoot(nullptr);
    deleteGuardedObject(webView);
  }
  if (const auto remote = remoteWebViews_.find(handle); remote != remoteWebViews_.end()) {
    IPCSenderWebView* proxy = remote->second;
    RemoteHost* const host = proxy->host();
    remoteWebViews_.erase(remote);
    deleteGuardedObject(proxy);
    if (host) dropIfUnused(host);
  }
  if (noWebViews() && Settings::instance().isChromeProcess()) {
    // Checked later, since a caller up the stack may still create another one.
    MainMessageClient::instance()->dispatchMessage(
        executableMessage(MethodDelegate0<WebViewManager>(this, &WebViewManager::endLoopIfEmpty)));
  }
}

std::vector<WebViewManager::WebViewHandle> WebViewManager::webViews() const {
  std::vector<WebViewHandle> handles;
  for (const auto& [handle, isCreated] : created_) {
    if (handle != rootHandle) handles.push_back(handle);
  }
  return handles;
}

std::vector<WebViewManager::WebViewHandle> WebViewManager::takeWebViews() {
  left_.clear();
  auto handles = webViews();
  // The chrome has not made those that are windows of their own.
  std::erase_if(handles, [this](WebViewHandle handle) {
    const WebView* const webView = webViewForHandle(handle);
    return webView && webView->isOwnWindow();
  });
  return handles;
}

void WebViewManager::chromeLost() {
  if (chromeLost_) chromeLost_();
  chromeIsLoaded_ = false;
  for (const WebViewHandle handle : takeWebViews()) left_.insert(handle);
}

void WebViewManager::chromeLoaded() {
  chromeIsLoaded_ = true;
  const auto left = std::exchange(left_, {});
  if (!left.empty()) {
    logAlways(LogNotice,
              "The chrome was started again; web views of the former one that are deleted: %zu",
              left.size());
  }
  for (const WebViewHandle handle : left) destroyWebView(handle);
  if (chromeLoadedHook_) chromeLoadedHook_();
}

bool WebViewManager::noWebViews() const {
  return webViews_.empty() && remoteWebViews_.empty();
}

void WebViewManager::endLoopIfEmpty() {
  if (!noWebViews()) return;
  shuttingDown_ = false;
  MainMessageClient::instance()->exit(0);
}

void WebViewManager::shutdown() {
  // Blocks new web views and pending creations, which would not be destroyed below.
  shuttingDown_ = true;
  // A copy: destroying a web view may delete others.
  const auto webViews = webViews_;
  for (const auto& [handle, webView] : webViews) {
    if (webViewForHandle(handle) != webView) continue;
    // Told already, to a chrome that has not deleted it.
    if (webView->isDestroyed()) {
      destroyWebView(handle);
      continue;
    }
    closing_.insert(handle);
    // Otherwise the end of the web view would not be reported.
    webView->setWebEventEnabled(OrvWebEvent::Destroyed, true);
    webView->destroy();
  }
  for (const auto& [id, host] : groups_) host->setError(String());
  const auto remotes = remoteWebViews_;
  for (const auto& [handle, remote] : remotes) destroyWebView(handle);
}

void WebViewManager::setEnvInGroups(const String& name, const String& value) {
  for (const auto& [id, host] : groups_) host->setEnvironment(name, value);
}

bool WebViewManager::setCapabilities(WebViewHandle handle, const String& text) {
  std::string problem;
  auto capabilities = Capabilities::read(text.toStdString(), problem);
  if (!capabilities) {
    informChromeOfError(concat("Capabilities: ", String(problem)));
    return false;
  }
  if (WebView* webView = webViewForHandle(handle)) {
    webView->setCapabilities(*std::move(capabilities));
    return true;
  }
  const IPCSenderWebView* remote = remoteWebViewForHandle(handle);
  if (!remote || !remote->host()) return false;
  remote->host()->setCapabilities(handle, text);
  return true;
}

void WebViewManager::remoteWebViewCrashed(WebViewHandle handle) {
  sendChromePostEvent(rootWebView(), nameOf(EventType::ProcessCrash), String(), handle, 0);
  destroyWebView(handle);
}

void WebViewManager::endProcess(WebViewHandle handle, unsigned long long limit,
                                unsigned long long taken) const {
  if (WebView* webView = webViewForHandle(handle)) {
    webView->endProcess(limit, taken);
  } else if (const IPCSenderWebView* remote = remoteWebViewForHandle(handle)) {
    remote->endProcess(limit, taken);
  }
}

void WebViewManager::finishClosing(WebViewHandle handle) {
  if (closing_.erase(handle) == 0) return;
  destroyWebView(handle);
}

WebView* WebViewManager::webViewForHandle(WebViewHandle handle) const {
  const auto found = webViews_.find(handle);
  return found == webViews_.end() ? nullptr : found->second;
}

IPCSenderWebView* WebViewManager::remoteWebViewForHandle(WebViewHandle handle) const {
  const auto found = remoteWebViews_.find(handle);
  return found == remoteWebViews_.end() ? nullptr : found->second;
}

void WebViewManager::addRemoteWebView(IPCSenderWebView* remote) {
  remoteWebViews_.emplace(remote->handle(), remote);
  created_.emplace(remote->handle(), false);
  inspector_->addInspectable(remote->handle());
}

WebViewManager::WebViewHandle WebViewManager::handleForWebView(const WebView* webView) const {
  const auto found = handles_.find(webView);
  return found == handles_.end() ? 0 : found->second;
}

void WebViewManager::publishRoot(WebView* root) {
  const std::lock_guard lock(rootMutex_);
  publishedRoot_ = GuardedPointer<WebView>(root);
}

GuardedPointer<WebView> WebViewManager::rootWebViewFromAnyThread() const {
  const std::lock_guard lock(rootMutex_);
  return publishedRoot_;
}

bool WebViewManager::isCreated(WebViewHandle handle) const {
  const auto found = created_.find(handle);
  return found != created_.end() && found->second;
}

void WebViewManager::markCreated(WebViewHandle handle) {
  created_[handle] = true;
  if (WebView* webView = webViewForHandle(handle)) {
    webView->setWebEventEnabled(OrvWebEvent::Destroyed, true);
  } else if (const IPCSenderWebView* remote = remoteWebViewForHandle(handle)) {
    remote->setWebEventEnabled(OrvWebEvent::Destroyed, true);
  }
}

void WebViewManager::informChromeOfError(const String& message) {
  // Processes without a chrome forward it to the one that has it, and logs it.
  if (!forward_) logAlways(LogError, "%s", message.utf8());
  informChromeOfLoggedError(message);
}

void WebViewManager::informChromeOfLoggedError(const String& message) {
  MainMessageClient* const client = MainMessageClient::instance();
  if (client && !client->isCurrentThread()) {
    client->dispatchMessage(executableMessage(MethodDelegate1<WebViewManager, const String&>(
        this, &WebViewManager::informChromeOfLoggedError, message)));
    return;
  }
  WebView* root = rootWebView();
  if (!root && forward_) return forward_(message);
  if (!root) {
    logAlways(LogError, "WebViewManager::informChromeOfError: can't find root webview!");
    return;
  }
  if (watcher_) watcher_(message);
  sendChromeError(*root, message);
}

void WebViewManager::noteProblem(const String& text) {
  logAlways(LogError, "%s", text.utf8());
  if (watcher_) watcher_(text);
}

void WebViewManager::postEvent(WebViewHandle handle, EventType event, const String& data,
                               int integer) {
  const bool ofChrome = handle == rootHandle;
  switch (event) {
    case EventType::Destroyed:
      if (ofChrome) return destroyWebView(rootHandle);
      break;
    case EventType::JavaScriptResult:
    case EventType::JavaScriptFunctionResult:
    case EventType::JavaScriptCallback:
      // Do not report the chrome's own scripts to the chrome.
      if (ofChrome) return;
      break;
    case EventType::WebProcess:
      // A late or false report must not outlive the web view.
      if (webViewForHandle(handle) || remoteWebViewForHandle(handle)) {
        webProcesses_[handle] = static_cast<int>(std::strtol(data.utf8(), nullptr, 10));
      }
      return;
    case EventType::InspectorMessage:
      return inspector_->sendToFrontEnd(handle, data);
    case EventType::Created:
      if (!isCreated(handle)) markCreated(handle);
      break;
    default:
      break;
  }
  sendChromePostEvent(rootWebView(), nameOf(event), data, handle, integer);
}

String WebViewManager::sendEvent(WebViewHandle handle, EventType event, const String& data,
                                 int integer) {
  const GuardedPin<WebView> root(rootWebViewFromAnyThread());
  return sendChromeSendEvent(root.get(), nameOf(event), data, handle, integer);
}
