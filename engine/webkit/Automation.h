// The sessions of WebDriver clients, which the engine serves: which views they drive, and where the
// windows come from that they ask for. Main thread.
#pragma once

#include "engine/webkit/base/AutomationMode.h"

#include <webkit2/webkit2.h>

#include <memory>
#include <vector>

class PageContext;

class Automation {
 public:
  // Of a context, which outlives it: an engine's process can have one that is driven.
  Automation(AutomationMode mode, WebKitWebContext* context);
  ~Automation();
  Automation(const Automation&) = delete;
  Automation& operator=(const Automation&) = delete;

  AutomationMode mode() const { return mode_; }
  // Whether a view that is about to be made in that context shall be driven.
  bool drives(WebKitWebContext* context, bool isApplication) const;
  // The page that drives the application.
  void setApplication(std::weak_ptr<PageContext> page) { application_ = std::move(page); }

 private:
  static void onStarted(WebKitWebContext*, WebKitAutomationSession* session, Automation* self);
  static WebKitWebView* onCreateView(WebKitAutomationSession* session, Automation* self);
  static void onWillClose(WebKitAutomationSession*, Automation* self);

  const AutomationMode mode_;
  WebKitWebContext* context_;
  WebKitAutomationSession* session_ = nullptr;
  std::weak_ptr<PageContext> application_;
  bool applicationIsGiven_ = false;                // to the client of this session
  std::vector<std::weak_ptr<PageContext>> pages_;  // made for the client of this session
};
