// Finding a text in a page. Main thread.
#pragma once

#include "engine/Page.h"

#include <webkit2/webkit2.h>

class PageContext;

class PageFind {
 public:
  using String = Tessel::Platform::String;

  PageFind(PageContext& page, WebKitWebView* view);
  ~PageFind();
  PageFind(const PageFind&) = delete;
  PageFind& operator=(const PageFind&) = delete;

  // The same text again goes on to the next match.
  void find(const String& text, const FindOptions& options);

 private:
  static void onFound(WebKitFindController*, guint count, PageFind* self);
  static void onNotFound(WebKitFindController*, PageFind* self);
  void report(bool matched);

  PageContext& page_;
  WebKitFindController* controller_;  // the view's
  String text_;
  guint32 options_ = 0;
  // The engine does not tell which match it shows, so they are counted here.
  int current_ = 0;
  int count_ = 0;
  int step_ = 0;  // of the search that is under way
};
