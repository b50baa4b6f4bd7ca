// The notifications that a page shows its user. Main thread.
#pragma once

#include "engine/Page.h"
#include "engine/webkit/base/ObjectPointer.h"

#include <webkit2/webkit2.h>

#include <map>

class PageContext;

class PageNotifications {
 public:
  using String = Tessel::Platform::String;

  PageNotifications(PageContext& page, WebKitWebView* view);
  ~PageNotifications();
  PageNotifications(const PageNotifications&) = delete;
  PageNotifications& operator=(const PageNotifications&) = delete;

  void step(const String& id, NotificationStep step);

 private:
  static gboolean onShow(WebKitWebView*, WebKitNotification* notification, PageNotifications* self);
  static void onClosed(WebKitNotification* notification, PageNotifications* self);
  void forget(WebKitNotification* notification);

  PageContext& page_;
  WebKitWebView* view_;
  std::map<String, ObjectPointer<WebKitNotification>> shown_;
};
