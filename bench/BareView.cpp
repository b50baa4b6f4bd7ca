// The minimal program that shows one page with this engine: the floor for a web view in a process
// of its own. Prints "shown" when the page is loaded and keeps running. With an address and a
// number, loads the address that many times, prints "loaded MILLISECONDS" each time, and exits.
#include <webkit2/webkit2.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace {

using Clock = std::chrono::steady_clock;

struct Loads {
  const char* address;
  int left;
  Clock::time_point begin;
};

void loadAgain(WebKitWebView* view, Loads& loads) {
  loads.begin = Clock::now();
  webkit_web_view_load_uri(view, loads.address);
}

void report(WebKitWebView* view, WebKitLoadEvent event, gpointer data) {
  if (event != WEBKIT_LOAD_FINISHED) return;
  Loads& loads = *static_cast<Loads*>(data);
  const std::chrono::duration<double, std::milli> time = Clock::now() - loads.begin;
  std::printf("loaded %f\n", time.count());
  std::fflush(stdout);
  --loads.left > 0 ? loadAgain(view, loads) : gtk_main_quit();
}

void tell(WebKitWebView*, WebKitLoadEvent event, gpointer) {
  if (event != WEBKIT_LOAD_FINISHED) return;
  std::puts("shown");
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  gtk_init(&argc, &argv);
  GtkWidget* const window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_window_set_default_size(GTK_WINDOW(window), 400, 300);
  GtkWidget* const view = webkit_web_view_new();
  gtk_container_add(GTK_CONTAINER(window), view);
  Loads loads{};
  if (argc == 3) {
    loads = {argv[1], std::atoi(argv[2]), {}};
    g_signal_connect(view, "load-changed", G_CALLBACK(report), &loads);
    loadAgain(WEBKIT_WEB_VIEW(view), loads);
  } else {
    g_signal_connect(view, "load-changed", G_CALLBACK(tell), nullptr);
    webkit_web_view_load_html(WEBKIT_WEB_VIEW(view), "<title>a page</title><p>a page", nullptr);
  }
  gtk_widget_show_all(window);
  gtk_main();
}
