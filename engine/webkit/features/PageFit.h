// Zooms pages that are wider than their web view to fit into it. Main thread.
#pragma once

#include <webkit2/webkit2.h>

class PageContext;

class PageFit {
 public:
  PageFit(PageContext& page, WebKitWebView* view) : page_(page), view_(view) {}
  PageFit(const PageFit&) = delete;
  PageFit& operator=(const PageFit&) = delete;

  // A document has loaded: its width and that of the viewport, in CSS pixels.
  void measured(int contentWidth, int seenWidth);
  // Restores the zoom for the next document.
  void documentGone();
  // The zoom was set explicitly: it stays.
  void zoomChosen() { fitted_ = false; }

 private:
  PageContext& page_;
  WebKitWebView* view_;
  bool fitted_ = false;
  double before_ = 1;  // the zoom that was there before a page was fitted
};
