// A page in full screen, its videos above all. Main thread.
#pragma once

#include "engine/Records.h"
#include "platform/base/String.h"

#include <webkit2/webkit2.h>

class PageContext;

class PageFullScreen {
 public:
  using String = Tessel::Platform::String;

  PageFullScreen(PageContext& page, WebKitWebView* view);
  ~PageFullScreen();
  PageFullScreen(const PageFullScreen&) = delete;
  PageFullScreen& operator=(const PageFullScreen&) = delete;

  // Whether a video fills the screen now, and its address.
  void videoChanged(bool isVideo, const String& source);
  // The setting fullScreenVideoCapable has changed.
  void capableChanged();
  void documentGone() { videoChanged(false, String()); }

  // Whether the view is in full screen or in transition.
  bool isMoving() const;
  // Removes a view from its window and destroys it, delayed until a transition is over.
  static void destroy(WebKitWebView* view, bool later);

 private:
  static gboolean onEnter(WebKitWebView*, PageFullScreen* self);
  static gboolean onLeave(WebKitWebView*, PageFullScreen* self);
  static void onAllocated(GtkWidget*, GdkRectangle*, PageFullScreen* self);
  OrvWebRect place() const;

  PageContext& page_;
  WebKitWebView* view_;
  bool inFullScreen_ = false;
  gint64 moment_ = 0;  // of the last step into full screen or out of it; 0 for none
  bool isVideo_ = false;
  String source_;      // of the video
  bool told_ = false;  // that a video has started
  OrvWebRect toldAt_;
};
