// A page's connection to its web process: what the module there knows of the page, and calls of the
// page's functions and of the content script. Main thread, but for post() and call().
#pragma once

#include "engine/WebViewSettings.h"
#include "engine/webkit/base/PageContext.h"
#include "engine/webkit/link/WebProcessLinks.h"

#include <webkit2/webkit2.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

// Owned by the page; outlives its views.
class PageConnection {
 public:
  using String = Tessel::Platform::String;

  explicit PageConnection(PageContext& page) : page_(page) {}
  PageConnection(const PageConnection&) = delete;
  PageConnection& operator=(const PageConnection&) = delete;

  // A view was made. The links deliver the requests of its web process to the linked page.
  void attach(WebKitWebView* view, std::weak_ptr<LinkedPage> linkedPage);
  // The view is about to go. A suspended process is resumed, so that it can end.
  void detach();
  // The module in the web process has connected, and asks for the setup next.
  void ready(std::shared_ptr<PageLink> link);
  void processEnded() {
    link_.store(nullptr);
    pid_ = 0;
  }
  // Of the page's process; 0 for none, or none that has connected.
  int pid() const { return pid_; }

  const link_protocol::PageSetup& setup() const { return setup_; }
  void settingChanged(WebViewSetting setting);
  void wantedEventsChanged();
  void setRequestHeaders(const std::vector<OrvWebHeader>& headers);
  void setCallbackObjectEnabled(bool enabled);
  void setBound(bool bound);
  void setDrivesApplication();

  // Runs an action of the content script; see Page::act.
  void act(PageAction action, std::vector<JavaScriptVariant> arguments);
  // Asks the process whether its main loop runs. False while there is none.
  bool ping();
  // See Page::postFunction and Page::callFunction. Any thread.
  void post(const FunctionCall& call, const String& resultId);
  JavaScriptVariant call(const FunctionCall& call);

 private:
  static void onPageNumber(WebKitWebView*, GParamSpec*, PageConnection* self);
  static gboolean onEngineMessage(WebKitWebView*, WebKitUserMessage* message, PageConnection* self);
  void registerPage();
  void sendSetup();
  void refreshSetup();

  PageContext& page_;
  WebKitWebView* view_ = nullptr;
  std::weak_ptr<LinkedPage> linkedPage_;
  link_protocol::PageSetup setup_;
  int pid_ = 0;

  // Read by other threads that call the page's functions.
  std::atomic<std::uint64_t> number_ = 0;
  std::atomic<std::shared_ptr<PageLink>> link_;
};
