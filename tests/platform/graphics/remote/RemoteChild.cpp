// A child process with windows, controlled by lines on its standard input; events in the windows
// are printed to its standard output, one line each. One thread.
//
//   window NAME X Y W H      a child window; all zero: it covers the application's
//   content NAME             an area in it, over which the pointer is a hand
//   place NAME X Y W H, alpha NAME N, order NAME N
//   tint NAME R G B          areas are of that colour from now on, each part 0 or 1
//   paints NAME              how often areas were drawn, after a time that is enough for more
//   tell NAME                its handle and size
#include "platform/base/Log.h"
#include "platform/graphics/Window.h"
#include "platform/graphics/gtk/GtkWindowSystem.h"
#include "platform/graphics/remote/RemoteWindowSystem.h"

#include <glib-unix.h>
#include <gtk/gtk.h>

#include <array>
#include <cstdlib>
#include <iostream>
#include <map>
#include <memory>
#include <sstream>
#include <string>

using namespace Tessel::Platform::Graphics;
using Tessel::Platform::IntRect;
using Tessel::Platform::IntSize;
using Tessel::Platform::UniqueFd;

namespace {

std::map<std::string, std::unique_ptr<Window>> windows;

template <typename... Parts>
void tell(const Parts&... parts) {
  ((std::cout << parts << ' '), ...) << std::endl;
}

class Listener final : public WindowListener {
  void windowResized(IntSize size) override { tell("resized", size.width, size.height); }
  void windowCloseRequested() override {}
};

std::array<double, 3> tint{0, 0.8, 0};
int paints = 0;

gboolean onDraw(GtkWidget*, cairo_t* cairo, gpointer) {
  ++paints;
  cairo_set_source_rgb(cairo, tint[0], tint[1], tint[2]);
  cairo_paint(cairo);
  return FALSE;
}

gboolean onEvent(GtkWidget*, GdkEvent* event, gpointer) {
  double x = 0;
  double y = 0;
  gdk_event_get_coords(event, &x, &y);
  switch (gdk_event_get_event_type(event)) {
    case GDK_ENTER_NOTIFY:
      tell("enter");
      return FALSE;
    case GDK_SCROLL:
      tell("scroll", event->scroll.direction, event->scroll.delta_y);
      return TRUE;
    case GDK_TOUCH_BEGIN:
    case GDK_TOUCH_UPDATE:
    case GDK_TOUCH_END:
    case GDK_TOUCH_CANCEL:
      tell("touch", event->type - GDK_TOUCH_BEGIN, GPOINTER_TO_UINT(event->touch.sequence), x, y);
      return TRUE;
    default:
      return FALSE;
  }
}

void onAllocate(GtkWidget*, GdkRectangle* place, gpointer) {
  tell("size", place->width, place->height);
}

void onRealize(GtkWidget* widget, gpointer) {
  GdkCursor* hand = gdk_cursor_new_from_name(gtk_widget_get_display(widget), "pointer");
  gdk_window_set_cursor(gtk_widget_get_window(widget), hand);
  g_clear_object(&hand);
}

GtkWidget* area = nullptr;

GtkWidget* makeArea() {
  area = gtk_drawing_area_new();
  gtk_widget_add_events(area, GDK_ALL_EVENTS_MASK & ~GDK_TOUCHPAD_GESTURE_MASK);
  gtk_widget_set_can_focus(area, TRUE);
  g_signal_connect(area, "draw", G_CALLBACK(onDraw), nullptr);
  g_signal_connect(area, "event", G_CALLBACK(onEvent), nullptr);
  g_signal_connect(area, "size-allocate", G_CALLBACK(onAllocate), nullptr);
  g_signal_connect(area, "realize", G_CALLBACK(onRealize), nullptr);
  return area;
}

void obey(const std::string& line) {
  std::istringstream words(line);
  std::string order;
  std::string name;
  words >> order >> name;
  const auto number = [&] {
    int value = 0;
    words >> value;
    return value;
  };
  const auto rect = [&] {
    IntRect read;
    words >> read.x >> read.y >> read.width >> read.height;
    return read;
  };
  if (order == "window") {
    windows[name] = std::make_unique<Window>(WindowType::Child, nullptr, rect(), IntRect(),
                                             IntSize(), 0, false, "tests");
    return;
  }
  Window& window = *windows.at(name);
  if (order == "content") {
    GtkWindowSystem::embed(window, makeArea());
  } else if (order == "place") {
    window.setWindowRectangle(rect());
  } else if (order == "alpha") {
    window.setGlobalAlpha(number());
  } else if (order == "order") {
    window.setZOrder(number());
  } else if (order == "tint") {
    for (double& part : tint) part = number();
    gtk_widget_queue_draw(area);
  } else if (order == "paints") {
    const auto told = [](gpointer) -> gboolean {
      tell("paints", paints);
      return G_SOURCE_REMOVE;
    };
    g_timeout_add(200, told, nullptr);
  } else if (order == "tell") {
    const IntSize size = window.surfaceSize();
    tell("window", window.platformHandle(), window.identifier().utf8(), size.width, size.height);
  }
}

gboolean onInput(int, GIOCondition, gpointer loop) {
  std::string line;
  if (!std::getline(std::cin, line)) {
    g_main_loop_quit(static_cast<GMainLoop*>(loop));
    return G_SOURCE_REMOVE;
  }
  obey(line);
  // The rest of what was read at once is in the stream's own buffer.
  while (std::cin.rdbuf()->in_avail() > 0 && std::getline(std::cin, line)) obey(line);
  return G_SOURCE_CONTINUE;
}

}  // namespace

int main(int, char** argv) {
  Tessel::Platform::setupApplicationLogging("child");
  auto system = RemoteWindowSystem::create(UniqueFd(std::atoi(argv[1])));
  if (!system || !Window::setHandleBase(static_cast<unsigned>(std::atoi(argv[2])))) return 1;
  WindowSystem::install(std::move(system));
  std::ios::sync_with_stdio(false);
  Listener listener;
  Window standIn(WindowType::Application, nullptr, {0, 0, 1, 1}, {}, {}, 0, false, "tests");
  standIn.setListener(&listener);
  tell("ready");
  GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
  g_unix_fd_add(STDIN_FILENO, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP), onInput, loop);
  g_main_loop_run(loop);
  windows.clear();
  g_main_loop_unref(loop);
  return 0;
}
