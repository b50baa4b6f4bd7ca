// What is under the pointer in a page, and its context menu. Main thread.
#pragma once

#include "engine/Enumerations.h"
#include "engine/webkit/base/ObjectPointer.h"

#include <webkit2/webkit2.h>

class PageContext;

class PageMenu {
 public:
  PageMenu(PageContext& page, WebKitWebView* view);
  ~PageMenu();
  PageMenu(const PageMenu&) = delete;
  PageMenu& operator=(const PageMenu&) = delete;

  // Does what an item of the last menu says. Those that need tabs, bookmarks or other programs are
  // the chrome's own and do nothing here.
  void run(OrvWebContextMenuItem item);

 private:
  static void onPointedAt(WebKitWebView*, WebKitHitTestResult* hit, guint, PageMenu* self);
  static gboolean onMenu(WebKitWebView*, WebKitContextMenu* menu, GdkEvent*,
                         WebKitHitTestResult* hit, PageMenu* self);
  static gboolean onInput(GtkWidget*, GdkEvent* event, PageMenu* self);
  static void onLoadChanged(WebKitWebView*, WebKitLoadEvent event, PageMenu* self);

  void watchForEnd();
  void forgetEnd();
  void cancel(OrvWebContextMenuCancelReason reason);
  void updateContext(WebKitHitTestResult* hit);

  PageContext& page_;
  WebKitWebView* view_;
  ObjectPointer<WebKitHitTestResult> hit_;  // of the last menu
  unsigned int runs_ = 0;
};
