// Fits pages that are wider than their web view into it. Main thread.
#pragma once

#include <webkit2/webkit2.h>

class WebKitPage;

class PageFit {
 public:
  PageFit(WebKitPage& page, WebKitWebView* view) : page_(page), view_(view) {}
  PageFit(const PageFit&) = delete;
  PageFit& operator=(const PageFit&) = delete;

  // A document has loaded: how wide it is, and how much of that is seen, in its own units.
  void measured(int contentWidth, int seenWidth);
  // The next document is no more than its own size at first.
  void documentGone();
  // Somebody has chosen another zoom: that stays.
  void zoomChosen() { fitted_ = false; }

 private:
  WebKitPage& page_;
  WebKitWebView* view_;
  bool fitted_ = false;
  double before_ = 1;  // the zoom that was there before a page was fitted
};
