// Which web views may be inspected, and the way between a front end and its web view.
#include "webview/WebInspectorClient.h"

#include "registry/Arguments.h"
#include "registry/BindingManager.h"
#include "webview/WebView.h"
#include "webview/WebViewManager.h"
#include "webview/commands/IPCSenderWebView.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>

using Tessel::Platform::MongooseHttpServer;
using Tessel::Platform::String;

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
  // What names no web view would be a page without anything, and end the list for those who go
  // through it.
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
  // A copy: while a child is asked for its title, the chrome is served, and may add and remove.
  for (const unsigned int handle : std::vector(handles_)) {
    // Between the two questions the web view may go.
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
    // Or the page would wait for ever where the debugger has stopped it.
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
  // The empty text is no message, and has a meaning of its own.
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
  // Iterative: an event nested a million deep must not exhaust the stack.
  document.Parse<rapidjson::kParseIterativeFlag>(event.utf8(), event.length());
  if (document.HasParseError() || !document.IsObject()) return;
  const auto message = document.FindMember("message");
  if (message == document.MemberEnd() || !message->value.IsString()) return;
  MongooseHttpServer::instance()->sendWebSocketMessageToFrontEnd(
      {message->value.GetString(), message->value.GetStringLength()}, found->second);
}

namespace {

using Event = OrvWebJavaScriptCallbackEvent;

WebInspectorClient& client() {
  return WebViewManager::instance().inspector();
}

const char* textAt(const Event& event, unsigned int index) {
  const char* text = index < event.numArgs() ? event.args()[index] : nullptr;
  return text ? text : "";
}

bool hasCount(const Event& event, int required, const char* function) {
  return !BindingManager::checkArgumentCount(static_cast<int>(event.numArgs()), required, function);
}

// The handle at that position, and the flag after it: only "false" takes the permission away.
void switchWebView(const Event& event, unsigned int index) {
  const unsigned int handle = arguments::handleAt(event, index);
  std::strcmp(textAt(event, index + 1), "false") == 0 ? client().removeInspectable(handle)
                                                      : client().addInspectable(handle);
}

String textOf(bool value) {
  return value ? "true" : "false";
}

void setEnabledOutOfProcess(Event* event) {
  if (!hasCount(*event, 3, "jssetEnabledOutOfProcessWebInspector")) return;
  client().switchServer(std::strcmp(textAt(*event, 2), "true") == 0);
}

void setAllowWebInspection(Event* event) {
  if (hasCount(*event, 4, "jssetAllowWebInspection")) switchWebView(*event, 2);
}

void enabled(Event* event) {
  event->setResult(textOf(MongooseHttpServer::instance()->isRunning()));
}

void setEnabled(Event* event) {
  if (!hasCount(*event, 2, "jswebInspectorSetEnabled")) return;
  client().switchServer(std::strcmp(textAt(*event, 1), "false") != 0);
}

void enabledForWebView(Event* event) {
  if (!hasCount(*event, 2, "jswebInspectorEnabledForWebView")) return;
  event->setResult(textOf(client().containsInspectable(arguments::handleAt(*event, 1))));
}

void setEnabledForWebView(Event* event) {
  if (hasCount(*event, 3, "jswebInspectorSetEnabledForWebView")) switchWebView(*event, 1);
}

void port(Event* event) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "%d", MongooseHttpServer::instance()->port());
  event->setResult(text.data());
}

}  // namespace

void registerInspectorFunctions(BindingManager& bindings) {
  constexpr std::pair<const char*, BindingHandler> functions[] = {
      {"webview.setEnabledOutOfProcessWebInspector", setEnabledOutOfProcess},
      {"webview.setAllowWebInspection", setAllowWebInspection},
      {"webInspector.enabled", enabled},
      {"webInspector.setEnabled", setEnabled},
      {"webInspector.enabledForWebView", enabledForWebView},
      {"webInspector.setEnabledForWebView", setEnabledForWebView},
      {"webInspector.port", port}};
  for (const auto& [name, handler] : functions) bindings.registerBinding(name, handler);
}
