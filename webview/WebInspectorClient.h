// Which web views may be inspected, and the way between an inspector's front end, which the HTTP
// server has, and the web view that it inspects, in this process or in a child.
//
// Any thread may ask what is in the registry, and detach; what reaches web views is the UI
// thread's.
#pragma once

#include "platform/base/String.h"
#include "platform/inspector_server/MongooseHttpServer.h"

#include <map>
#include <mutex>
#include <string>
#include <vector>

class BindingManager;
class WebViewManager;

class WebInspectorClient final : public Tessel::Platform::MongooseClient {
 public:
  using String = Tessel::Platform::String;
  using Connection = Tessel::Platform::GuardedPointer<Tessel::Platform::WebSocketConnection>;
  using InspectablePage = Tessel::Platform::InspectablePage;

  // Becomes the server's client, for good.
  explicit WebInspectorClient(WebViewManager& manager);
  ~WebInspectorClient() override = default;
  WebInspectorClient(const WebInspectorClient&) = delete;
  WebInspectorClient& operator=(const WebInspectorClient&) = delete;

  // A web view may be inspected from now on; one that may already stays where it is in the list.
  // UI thread.
  void addInspectable(unsigned int handle);
  // Its front end is closed. UI thread.
  void removeInspectable(unsigned int handle);
  bool containsInspectable(unsigned int handle) const;
  // Starts or stops the server and tells the web views of the list its port. UI thread.
  void switchServer(bool on);
  // Hands on what an InspectorMessage brings, the JSON of the event. What has no text "message" is
  // dropped, and what nobody waits for.
  void sendToFrontEnd(unsigned int handle, const String& event) const;

  void inspectablePages(std::vector<InspectablePage>& pages) override;
  // Closes the front end that was there before.
  void setPageConnection(unsigned int handle, const Connection& connection) override;
  void handleFrontEndMessage(unsigned int handle, const std::string& message) override;
  void disconnectAllPages() override;
  unsigned int inspectablePageAt(std::size_t index) override;
  std::string pageNotFoundText() override;

 private:
  // Calls an operation of the web view where it lives; false when there is no such web view.
  template <typename Call>
  bool withWebView(unsigned int handle, Call call) const;
  void tellOfFrontEnd(unsigned int handle, bool connected) const;
  void tellOfServer(unsigned int handle) const;

  WebViewManager& manager_;
  // Recursive: what is called inside may come back. If both, the handles' first.
  mutable std::recursive_mutex handlesMutex_;
  std::vector<unsigned int> handles_;
  mutable std::recursive_mutex connectionsMutex_;
  std::map<unsigned int, Connection> connections_;
};

// The native functions that switch the server and what may be inspected.
void registerInspectorFunctions(BindingManager& bindings);
