// Hides the mouse pointer by an extension of the display server, since widgets, above all web
// views, keep setting their own cursors.
#include "platform/graphics/gtk/PointerHiding.h"

#include <X11/extensions/Xfixes.h>
#include <gdk/gdkx.h>
#include <gtk/gtk.h>

namespace Tessel::Platform::Graphics {

namespace {

// Global state: there is one display and one main thread.
struct Pointer {
  int seconds = 0;
  bool hidden = false;
  guint timer = 0;
};

Pointer& pointer() {
  static Pointer pointer;
  return pointer;
}

void setHidden(bool hidden) {
  if (hidden == pointer().hidden) return;
  pointer().hidden = hidden;
  GdkDisplay* const display = gdk_display_get_default();
  Display* const server = gdk_x11_display_get_xdisplay(display);
  const Window root = gdk_x11_get_default_root_xwindow();
  if (hidden) {
    XFixesHideCursor(server, root);
  } else {
    XFixesShowCursor(server, root);
  }
  gdk_display_flush(display);
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

// Emission hook of the "event" signal of all widgets; the arguments are the widget and the event.
gboolean onEvent(GSignalInvocationHint*, guint, const GValue* arguments, gpointer) {
  const auto* event = static_cast<const GdkEvent*>(g_value_get_boxed(arguments + 1));
  if (event->type == GDK_MOTION_NOTIFY || event->type == GDK_BUTTON_PRESS) {
    setHidden(false);
    wait();
  }
  return TRUE;
}

}  // namespace

void hidePointerAfter(int seconds) {
  pointer().seconds = seconds;
  if (seconds == 0) return setHidden(true);
  g_type_class_ref(GTK_TYPE_WIDGET);
  g_signal_add_emission_hook(g_signal_lookup("event", GTK_TYPE_WIDGET), 0, onEvent, nullptr,
                             nullptr);
  wait();
}

}  // namespace Tessel::Platform::Graphics
