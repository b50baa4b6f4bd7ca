// A page in full screen, its videos above all. Main thread.
#pragma once

#include "engine/Records.h"
#include "platform/base/String.h"

#include <webkit2/webkit2.h>

class WebKitPage;

class PageFullScreen {
 public:
  using String = Tessel::Platform::String;

  PageFullScreen(WebKitPage& page, WebKitWebView* view);
  ~PageFullScreen();
  PageFullScreen(const PageFullScreen&) = delete;
  PageFullScreen& operator=(const PageFullScreen&) = delete;

  // What fills the screen is a video now, from that address, or it is none any more.
  void videoChanged(bool isVideo, const String& source);
  // The events about videos are wanted now, or not any more.
  void capableChanged();
  void documentGone() { videoChanged(false, String()); }

  // Whether the engine goes into full screen or out of it, or is there.
  bool isMoving() const;
  // Takes a view off its window and destroys it; later, when what moves is at its end.
  static void destroy(WebKitWebView* view, bool later);

 private:
  static gboolean onEnter(WebKitWebView*, PageFullScreen* self);
  static gboolean onLeave(WebKitWebView*, PageFullScreen* self);
  static void onAllocated(GtkWidget*, GdkRectangle*, PageFullScreen* self);
  OrvWebRect place() const;

  WebKitPage& page_;
  WebKitWebView* view_;
  bool inFullScreen_ = false;
  gint64 moment_ = 0;  // of the last step into full screen or out of it; 0 for none
  bool isVideo_ = false;
  String source_;      // of the video
  bool told_ = false;  // that a video has started
  OrvWebRect toldAt_;
};
