// The least program that shows one page with this engine: the floor for a web view in a process of
// its own. Prints "shown" when the page is loaded, and stays.
#include <webkit2/webkit2.h>

#include <cstdio>

int main(int argc, char** argv) {
  gtk_init(&argc, &argv);
  GtkWidget* const window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_window_set_default_size(GTK_WINDOW(window), 400, 300);
  GtkWidget* const view = webkit_web_view_new();
  gtk_container_add(GTK_CONTAINER(window), view);
  g_signal_connect(view, "load-changed",
                   G_CALLBACK(+[](WebKitWebView*, WebKitLoadEvent event, gpointer) {
                     if (event != WEBKIT_LOAD_FINISHED) return;
                     std::puts("shown");
                     std::fflush(stdout);
                   }),
                   nullptr);
  webkit_web_view_load_html(WEBKIT_WEB_VIEW(view), "<title>a page</title><p>a page", nullptr);
  gtk_widget_show_all(window);
  gtk_main();
}
