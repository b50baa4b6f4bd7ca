// A page that WebDriver clients drive: it comes to the front when they switch to it. Main thread.
#pragma once

#include <webkit2/webkit2.h>

class PageContext;

class PageAutomation {
 public:
  // Does nothing for a view that is not driven.
  PageAutomation(PageContext& page, WebKitWebView* view);
  ~PageAutomation();
  PageAutomation(const PageAutomation&) = delete;
  PageAutomation& operator=(const PageAutomation&) = delete;

 private:
  static void onGrabFocus(GtkWidget*, PageAutomation* self);

  PageContext& page_;
  WebKitWebView* view_;
};
