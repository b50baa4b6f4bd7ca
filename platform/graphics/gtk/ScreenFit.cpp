// The display state of a top-level window, with and without a window manager.
#include "platform/graphics/gtk/ScreenFit.h"

#include <gdk/gdkx.h>
#include <gtk/gtk.h>

#include <utility>

namespace Tessel::Platform::Graphics {

namespace {

GdkScreen* screenOf(GtkWindow* window) {
  return gtk_window_get_screen(window);
}

}  // namespace

bool ScreenFit::hasManager(GtkWindow* window) {
  return gdk_x11_screen_supports_net_wm_hint(
             screenOf(window), gdk_atom_intern_static_string("_NET_WM_STATE_FULLSCREEN")) != FALSE;
}

ScreenFit::ScreenFit(GtkWindow* window, std::function<void()> changed)
    : window_(window), changed_(std::move(changed)) {
  for (const char* signal : {"size-changed", "monitors-changed", "window-manager-changed"}) {
    g_signal_connect_swapped(screenOf(window), signal, G_CALLBACK(onScreenChanged), this);
  }
}

ScreenFit::~ScreenFit() {
  if (ending_) g_source_remove(ending_);
  g_signal_handlers_disconnect_by_data(screenOf(window_), this);
}

void ScreenFit::showAs(ShownAs wanted) {
  if (wanted != ShownAs::Minimized) beforeContent_.reset();
  apply(wanted);
}

void ScreenFit::apply(ShownAs wanted) {
  if (wanted == ShownAs::Minimized) return gtk_window_iconify(window_);
  if (wanted == ShownAs::Covered || fills_) return;
  asked_ = wanted != ShownAs::Normal;
  if (!hasManager(window_)) return asked_ ? cover(wanted) : uncover();
  if (wanted != ShownAs::Fullscreen) gtk_window_unfullscreen(window_);
  if (wanted != ShownAs::Maximized) gtk_window_unmaximize(window_);
  gtk_window_deiconify(window_);
  if (wanted == ShownAs::Fullscreen) gtk_window_fullscreen(window_);
  if (wanted == ShownAs::Maximized) gtk_window_maximize(window_);
}

bool ScreenFit::isFullScreen() const {
  GdkWindow* const shown = gtk_widget_get_window(GTK_WIDGET(window_));
  if (coversScreen()) return covering_ == ShownAs::Fullscreen;
  return shown && (gdk_window_get_state(shown) & GDK_WINDOW_STATE_FULLSCREEN) != 0;
}

void ScreenFit::showContent(bool fullScreen) {
  contents_ += fullScreen ? 1 : -1;
  if (ending_) g_source_remove(std::exchange(ending_, 0));
  if (!fullScreen) {
    if (contents_ > 0) return;
    // The engine takes the window out of full screen by itself, right after it has told of this.
    const auto end = [](gpointer self) -> gboolean {
      static_cast<ScreenFit*>(self)->endContent();
      return G_SOURCE_REMOVE;
    };
    ending_ = g_idle_add(end, this);
  } else if (contents_ == 1 && !beforeContent_) {
    beforeContent_ = coversScreen()                              ? covering_
                     : isFullScreen()                            ? ShownAs::Fullscreen
                     : gtk_window_is_maximized(window_) != FALSE ? ShownAs::Maximized
                                                                 : ShownAs::Normal;
    apply(ShownAs::Fullscreen);
  }
}

void ScreenFit::endContent() {
  ending_ = 0;
  const auto before = std::exchange(beforeContent_, std::nullopt);
  if (fills_) {
    if (hasManager(window_)) gtk_window_fullscreen(window_);
  } else if (before) {
    apply(*before);
  }
}

void ScreenFit::fillScreen(ScreenFilling filling) {
  if (!hasManager(window_)) {
    cover(ShownAs::Fullscreen);
  } else if (filling == ScreenFilling::InAnyCase) {
    gtk_window_fullscreen(window_);
  }
  if (filling != ScreenFilling::InAnyCase) return;
  gtk_window_set_decorated(window_, FALSE);
  fills_ = true;
}

// A window manager that starts takes over; when it exits, the window stays as it is.
void ScreenFit::onScreenChanged(ScreenFit* self) {
  if (hasManager(self->window_)) {
    const ShownAs was = std::exchange(self->covering_, ShownAs::Normal);
    if (self->fills_) return gtk_window_fullscreen(self->window_);
    if (was == ShownAs::Normal) return;
    gtk_window_resize(self->window_, self->width_, self->height_);
    if (self->asked_) self->apply(was);
    self->changed_();
  } else if (self->fills_) {
    self->cover(ShownAs::Fullscreen);
  } else if (self->coversScreen()) {
    self->fit();
  }
}

void ScreenFit::cover(ShownAs as) {
  if (!coversScreen()) gtk_window_get_size(window_, &width_, &height_);
  covering_ = as;
  fit();
  changed_();
}

void ScreenFit::uncover() {
  if (!coversScreen()) return;
  covering_ = ShownAs::Normal;
  gtk_window_resize(window_, width_, height_);
  changed_();
}

bool ScreenFit::resize(IntSize size) {
  if (fills_) return false;
  width_ = size.width;
  height_ = size.height;
  coversScreen() ? uncover() : gtk_window_resize(window_, width_, height_);
  return true;
}

void ScreenFit::fit() {
  GdkDisplay* const display = gtk_widget_get_display(GTK_WIDGET(window_));
  GdkWindow* const shown = gtk_widget_get_window(GTK_WIDGET(window_));
  GdkMonitor* monitor = shown ? gdk_display_get_monitor_at_window(display, shown) : nullptr;
  if (!monitor) monitor = gdk_display_get_primary_monitor(display);
  if (!monitor) monitor = gdk_display_get_monitor(display, 0);
  if (!monitor) return;
  GdkRectangle area;
  gdk_monitor_get_geometry(monitor, &area);
  gtk_window_move(window_, area.x, area.y);
  gtk_window_resize(window_, area.width, area.height);
}

}  // namespace Tessel::Platform::Graphics
