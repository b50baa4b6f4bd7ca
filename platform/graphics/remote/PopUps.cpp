// Support for the pop-up windows of widgets rendered off screen.
//
// GTK tells the display which window a pop-up is transient for by casting its parent to an X11
// window; an off-screen window has no such member there. The resulting number is wrong; a warning
// about the type is the only other effect.
#include "platform/graphics/remote/PopUps.h"

#include <gdk/gdkx.h>
#include <gtk/gtk.h>

#include <cstring>

namespace Tessel::Platform::Graphics::Remote {

namespace {

void dropExpected(const gchar* domain, GLogLevelFlags level, const gchar* message, gpointer) {
  const bool expected = std::strstr(message, "'GdkOffscreenWindow' to 'GdkWindowImplX11'");
  if (!expected) g_log_default_handler(domain, level, message, nullptr);
}

// Use the application's window instead.
gboolean onRealize(GSignalInvocationHint*, guint, const GValue* values, gpointer) {
  auto* widget = static_cast<GtkWidget*>(g_value_get_object(values));
  if (!GTK_IS_WINDOW(widget) || GTK_IS_OFFSCREEN_WINDOW(widget)) return TRUE;
  GtkWindow* owner = gtk_window_get_transient_for(GTK_WINDOW(widget));
  if (!owner || !GTK_IS_OFFSCREEN_WINDOW(owner)) return TRUE;
  GdkWindow* offscreen = gtk_widget_get_window(GTK_WIDGET(owner));
  GdkWindow* application = offscreen ? gdk_offscreen_window_get_embedder(offscreen) : nullptr;
  if (!application) return TRUE;
  // Set the property only: GTK positions menus relative to the owner.
  const gulong number = gdk_x11_window_get_xid(application);
  gdk_property_change(gtk_widget_get_window(widget), gdk_atom_intern("WM_TRANSIENT_FOR", FALSE),
                      gdk_atom_intern("WINDOW", FALSE), 32, GDK_PROP_MODE_REPLACE,
                      reinterpret_cast<const guchar*>(&number), 1);
  return TRUE;
}

}  // namespace

void preparePopUps() {
  static const bool once = [] {
    g_log_set_handler("GLib-GObject", G_LOG_LEVEL_WARNING, dropExpected, nullptr);
    // The signal exists once the class is initialised.
    g_type_class_unref(g_type_class_ref(GTK_TYPE_WIDGET));
    g_signal_add_emission_hook(g_signal_lookup("realize", GTK_TYPE_WIDGET), 0, onRealize, nullptr,
                               nullptr);
    return true;
  }();
  static_cast<void>(once);
}

}  // namespace Tessel::Platform::Graphics::Remote
