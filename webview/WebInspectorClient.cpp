// Keeps the set of inspectable web views and connects inspector front ends to them.
#include "webview/WebInspectorClient.h"

#include "registry/NativeFunctions.h"
#include "webview/WebView.h"
#include "webview/WebViewManager.h"
#include "webview/commands/IPCSenderWebView.h"

#include <rapidjson/document.h>

#include <algorithm>

using Tessel::Platform::MongooseHttpServer;

WebInspectorClient::WebInspectorClient(WebViewManager& manager) : manager_(manager) {
  MongooseHttpServer::instance()->setClient(this);
  MongooseHttpServer::instance()->setPreventClientOverride(true);
}

template <typename Call>
bool WebInspectorClient::withWebView(unsigned int handle, Call call) const {
  if (WebView* const webView = manager_.webViewForHandle(handle)) {
    call(*webView);
  } else if (const IPCSenderWebView* const remote = manager_.remoteWebViewForHandle(handle)) {
    call(*remote);
  } else {
    return false;
  }
  return true;
}

void WebInspectorClient::addInspectable(unsigned int handle) {
  const std::lock_guard lock(handlesMutex_);
  // An unknown handle would be listed as an empty page, which readers take for the end of the list.
  if (!withWebView(handle, [](auto& webView) {
        webView.setWebEventEnabled(OrvWebEvent::InspectorMessage, true);
      })) {
    return;
  }
  if (!containsInspectable(handle)) handles_.push_back(handle);
  tellOfServer(handle);
}

void WebInspectorClient::removeInspectable(unsigned int handle) {
  const std::lock_guard lock(handlesMutex_);
  if (containsInspectable(handle)) {
    setPageConnection(handle, nullptr);
    std::erase(handles_, handle);
    tellOfServer(handle);
  }
  withWebView(handle, [](auto& webView) {
    webView.setWebEventEnabled(OrvWebEvent::InspectorMessage, false);
  });
}

bool WebInspectorClient::containsInspectable(unsigned int handle) const {
  const std::lock_guard lock(handlesMutex_);
  return std::find(handles_.begin(), handles_.end(), handle) != handles_.end();
}

void WebInspectorClient::inspectablePages(std::vector<InspectablePage>& pages) {
  const std::lock_guard lock(handlesMutex_);
  // A copy: querying a child serves calls of the chrome, which may add and remove handles.
  for (const unsigned int handle : std::vector(handles_)) {
    // The web view may be destroyed between the two queries.
    InspectablePage page{handle, {}, {}};
    withWebView(handle, [&](auto& webView) { page.title = webView.title().toStdString(); });
    withWebView(handle, [&](auto& webView) { page.url = webView.location().toStdString(); });
    if (containsInspectable(handle)) pages.push_back(std::move(page));
  }
}

void WebInspectorClient::setPageConnection(unsigned int handle, const Connection& connection) {
  const std::lock_guard lock(connectionsMutex_);
  const auto found = connections_.find(handle);
  const bool hadOne = found != connections_.end();
  if (hadOne) MongooseHttpServer::instance()->closeWebSocketConnection(found->second, false);
  if (!connection) {
    connections_.erase(handle);
    // Reports the disconnection, which resumes a page that is paused in the debugger.
    if (hadOne) tellOfFrontEnd(handle, false);
    return;
  }
  connections_[handle] = connection;
  withWebView(handle, [](auto& webView) { webView.setWebInspectorEnabled(true); });
  tellOfFrontEnd(handle, true);
}

void WebInspectorClient::tellOfFrontEnd(unsigned int handle, bool connected) const {
  withWebView(handle, [connected](auto& webView) {
    webView.handleWebInspectorMessageToBackend(
        String(), connected ? OrvWebView::FrontEndCame : OrvWebView::FrontEndGone);
  });
}

void WebInspectorClient::tellOfServer(unsigned int handle) const {
  const MongooseHttpServer& server = *MongooseHttpServer::instance();
  const int port = server.isRunning() && containsInspectable(handle) ? server.port() : 0;
  withWebView(handle, [port](auto& webView) {
    webView.handleWebInspectorMessageToBackend(String::fromSignedInteger(port),
                                               OrvWebView::ServerPort);
  });
}

void WebInspectorClient::switchServer(bool on) {
  MongooseHttpServer* const server = MongooseHttpServer::instance();
  on ? server->start() : server->stop();
  const std::lock_guard lock(handlesMutex_);
  for (const unsigned int handle : std::vector(handles_)) tellOfServer(handle);
}

void WebInspectorClient::handleFrontEndMessage(unsigned int handle, const std::string& message) {
  // The empty text is not a message; it has a meaning of its own.
  if (message.empty()) return;
  withWebView(handle, [&](auto& webView) {
    webView.handleWebInspectorMessageToBackend(String(message), OrvWebView::FrontEndMessage);
  });
}

void WebInspectorClient::disconnectAllPages() {
  const std::lock_guard lock(handlesMutex_);
  for (const unsigned int handle : std::vector(handles_)) setPageConnection(handle, nullptr);
}

unsigned int WebInspectorClient::inspectablePageAt(std::size_t index) {
  const std::lock_guard lock(handlesMutex_);
  return index < handles_.size() ? handles_[index] : 0;
}

std::string WebInspectorClient::pageNotFoundText() {
  return "The page you are trying to inspect doesn't exist.";
}

void WebInspectorClient::sendToFrontEnd(unsigned int handle, const String& event) const {
  const std::lock_guard lock(connectionsMutex_);
  const auto found = connections_.find(handle);
  if (found == connections_.end()) return;
  rapidjson::Document document;
  // Iterative parsing: deeply nested JSON must not exhaust the stack.
  document.Parse<rapidjson::kParseIterativeFlag>(event.utf8(), event.length());
  if (document.HasParseError() || !document.IsObject()) return;
  const auto message = document.FindMember("message");
  if (message == document.MemberEnd() || !message->value.IsString()) return;
  MongooseHttpServer::instance()->sendWebSocketMessageToFrontEnd(
      {message->value.GetString(), message->value.GetStringLength()}, found->second);
}

namespace {

struct InspectorFunctions {
  static WebInspectorClient& client() { return WebViewManager::instance().inspector(); }

  static void startOnlyIf(const char*, bool on) { client().switchServer(on); }
  static void allow(const char*, unsigned int view, bool allowed) {
    setEnabledForWebView(view, allowed);
  }
  static bool enabled() { return MongooseHttpServer::instance()->isRunning(); }
  static void setEnabled(bool on) { client().switchServer(on); }
  static bool enabledForWebView(unsigned int view) { return client().containsInspectable(view); }
  static void setEnabledForWebView(unsigned int view, bool on) {
    on ? client().addInspectable(view) : client().removeInspectable(view);
  }
  static int port() { return MongooseHttpServer::instance()->port(); }
};

}  // namespace

void registerInspectorFunctions(BindingManager& bindings) {
  arguments::registerFunctions<"InspectorFunctions", InspectorFunctions>(bindings);
}
