// The registry of inspectable web views, and routing between an inspector's front end, which is
// connected to the HTTP server, and the inspected web view, in this process or in a child.
//
// The registry may be read, and front ends detached, on any thread; operations on web views belong
// to the UI thread.
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

  // Registers as the server's client, permanently.
  explicit WebInspectorClient(WebViewManager& manager);
  ~WebInspectorClient() override = default;
  WebInspectorClient(const WebInspectorClient&) = delete;
  WebInspectorClient& operator=(const WebInspectorClient&) = delete;

  // Makes a web view inspectable; one that is already keeps its position in the list. UI thread.
  void addInspectable(unsigned int handle);
  // Its front end is disconnected. UI thread.
  void removeInspectable(unsigned int handle);
  bool containsInspectable(unsigned int handle) const;
  // Starts or stops the server and tells the listed web views its port. UI thread.
  void switchServer(bool on);
  // Forwards the message of an InspectorMessage event, given as the event's JSON. Dropped if there
  // is no string "message" or no front end.
  void sendToFrontEnd(unsigned int handle, const String& event) const;

  void inspectablePages(std::vector<InspectablePage>& pages) override;
  // Disconnects the previous front end.
  void setPageConnection(unsigned int handle, const Connection& connection) override;
  void handleFrontEndMessage(unsigned int handle, const std::string& message) override;
  void disconnectAllPages() override;
  unsigned int inspectablePageAt(std::size_t index) override;
  std::string pageNotFoundText() override;

 private:
  // Calls an operation of the web view wherever it lives; false if it does not exist.
  template <typename Call>
  bool withWebView(unsigned int handle, Call call) const;
  void tellOfFrontEnd(unsigned int handle, bool connected) const;
  void tellOfServer(unsigned int handle) const;

  WebViewManager& manager_;
  // Recursive: callbacks may call back. To take both, lock the handles' mutex first.
  mutable std::recursive_mutex handlesMutex_;
  std::vector<unsigned int> handles_;
  mutable std::recursive_mutex connectionsMutex_;
  std::map<unsigned int, Connection> connections_;
};

// The native functions that control the server and which web views are inspectable.
void registerInspectorFunctions(BindingManager& bindings);
