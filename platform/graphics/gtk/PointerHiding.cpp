// Hides the mouse pointer by the display's own means: every widget, web views above all, sets the
// pointer that it wants again and again.
#include "platform/graphics/gtk/PointerHiding.h"

#include <X11/extensions/XInput2.h>
#include <X11/extensions/Xfixes.h>
#include <gdk/gdkx.h>

namespace Tessel::Platform::Graphics {

namespace {

// Of the program, which has one display and one main thread.
struct Pointer {
  int seconds = 0;
  bool hidden = false;
  guint timer = 0;
};

Pointer& pointer() {
  static Pointer pointer;
  return pointer;
}

Display* xDisplay() {
  return gdk_x11_display_get_xdisplay(gdk_display_get_default());
}

void setHidden(bool hidden) {
  if (hidden == pointer().hidden) return;
  pointer().hidden = hidden;
  const Window root = gdk_x11_get_default_root_xwindow();
  if (hidden) {
    XFixesHideCursor(xDisplay(), root);
  } else {
    XFixesShowCursor(xDisplay(), root);
  }
  gdk_display_flush(gdk_display_get_default());
}

gboolean onPause(gpointer) {
  pointer().timer = 0;
  setHidden(true);
  return G_SOURCE_REMOVE;
}

void wait() {
  if (pointer().timer) g_source_remove(pointer().timer);
  pointer().timer = g_timeout_add_seconds(static_cast<guint>(pointer().seconds), onPause, nullptr);
}

// Wherever on the display the pointer is: over menus of child processes and other programs as well.
GdkFilterReturn onEvent(GdkXEvent* received, GdkEvent*, gpointer) {
  const auto* event = static_cast<const XEvent*>(received);
  const int kind = event->type == GenericEvent ? event->xcookie.evtype : 0;
  if (kind == XI_RawMotion || kind == XI_RawButtonPress) {
    setHidden(false);
    wait();
  }
  return GDK_FILTER_CONTINUE;
}

}  // namespace

void hidePointerAfter(int seconds) {
  pointer().seconds = seconds;
  if (seconds == 0) return setHidden(true);
  unsigned char wanted[XIMaskLen(XI_LASTEVENT)] = {};
  XISetMask(wanted, XI_RawMotion);
  XISetMask(wanted, XI_RawButtonPress);
  XIEventMask mask{XIAllMasterDevices, sizeof wanted, wanted};
  XISelectEvents(xDisplay(), gdk_x11_get_default_root_xwindow(), &mask, 1);
  gdk_window_add_filter(nullptr, onEvent, nullptr);
  wait();
}

}  // namespace Tessel::Platform::Graphics
