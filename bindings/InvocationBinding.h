// The invocation.* functions, and requests of other applications to the chrome. UI thread.
#pragma once

#include "platform/desktop/Listeners.h"
#include "platform/loop/GuardedPointer.h"

class WebView;

class InvocationBinding final : public Tessel::Platform::NavigatorListener {
 public:
  using String = Tessel::Platform::String;

  // Registers the functions, listens from now on, and calls chrome.internal.invocation of that web
  // view; what happens while it is null or gone is dropped. One per process.
  explicit InvocationBinding(WebView* root);
  ~InvocationBinding() override;
  InvocationBinding(const InvocationBinding&) = delete;
  InvocationBinding& operator=(const InvocationBinding&) = delete;

#define INVOCATION_NOTIFICATION(name, Result, parameters, arguments, text) \
  Result name parameters override;
#include "platform/desktop/Notifications.def"

 private:
  Tessel::Platform::GuardedPointer<WebView> root_;
};
