// Loss of the display connection, and closing of dialogs. Main thread.
#include "platform/graphics/gtk/ToolkitEnds.h"

#include "platform/base/Log.h"
#include "platform/os/Process.h"

#include <X11/Xlib.h>
#include <gtk/gtk.h>
#include <unistd.h>

#include <cstdlib>

namespace Tessel::Platform::Graphics {

void tellOfLostDisplay() {
  // The toolkit's own handler is silent where its log level is not shown. No display calls are
  // possible any more, so exit handlers must not run.
  XSetIOErrorHandler([](Display* display) -> int {
    logAlways(LogError, "The display %s is lost, so the process ends.", XDisplayString(display));
    logAlways(LogError, "Exit %s: %d", processName(), EXIT_FAILURE);
    ::_exit(EXIT_FAILURE);
  });
}

void dismissDialogs() {
  GList* const windows = gtk_window_list_toplevels();
  g_list_foreach(
      windows, [](gpointer window, gpointer) { g_object_ref(window); }, nullptr);
  for (GList* each = windows; each; each = each->next) {
    if (GTK_IS_DIALOG(each->data) && gtk_widget_get_visible(GTK_WIDGET(each->data))) {
      gtk_dialog_response(GTK_DIALOG(each->data), GTK_RESPONSE_DELETE_EVENT);
    }
  }
  g_list_free_full(windows, g_object_unref);
}

}  // namespace Tessel::Platform::Graphics
