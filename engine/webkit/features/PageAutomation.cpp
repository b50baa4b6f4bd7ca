// A page that WebDriver clients drive. Main thread.
#include "engine/webkit/features/PageAutomation.h"

#include "engine/OrvWebEvents.h"
#include "engine/webkit/base/BoundedWait.h"
#include "engine/webkit/base/PageContext.h"

#include <chrono>

namespace {

// How long a chrome may take to show a page that the client has switched to.
constexpr std::chrono::seconds showLimit{2};

}  // namespace

PageAutomation::PageAutomation(PageContext& page, WebKitWebView* view) : page_(page), view_(view) {
  if (!webkit_web_view_is_controlled_by_automation(view_)) return;
  g_signal_connect(view_, "grab-focus", G_CALLBACK(onGrabFocus), this);
  GtkWidget* const topLevel = gtk_widget_get_toplevel(GTK_WIDGET(view_));
  g_signal_connect(topLevel, "key-press-event", G_CALLBACK(onKey), this);
  g_signal_connect(topLevel, "key-release-event", G_CALLBACK(onKey), this);
}

PageAutomation::~PageAutomation() {
  g_signal_handlers_disconnect_by_data(gtk_widget_get_toplevel(GTK_WIDGET(view_)), this);
  g_signal_handlers_disconnect_by_data(view_, this);
}

// The engine gives the view the keyboard when the client switches to it. A hidden page cannot be
// clicked or photographed.
void PageAutomation::onGrabFocus(GtkWidget*, PageAutomation* self) {
  const auto page = self->page_.shared_from_this();
  if (!page->client()) return;
  if (page->client()->isOwnWindow()) {
    // They fill the window, one over the other.
    static int top = 1 << 20;
    return page->window().setZOrder(++top);
  }
  const auto isShown = [&] { return !page->client() || page->window().state().visible; };
  if (isShown() || !page->wants(OrvWebEvent::Focus)) return;
  OrvWebFocusEvent event;
  event.isFocused = true;
  page->raise(event);
  waitInMainLoop(showLimit, isShown);
}

// The client's keys name the view's own window, those of the display the top-level one. The toolkit
// hands both to the widget that has the keyboard.
gboolean PageAutomation::onKey(GtkWidget* topLevel, GdkEventKey* event, PageAutomation* self) {
  GtkWidget* const view = GTK_WIDGET(self->view_);
  if (event->window == gtk_widget_get_window(view) &&
      gtk_window_get_focus(GTK_WINDOW(topLevel)) != view) {
    gtk_widget_grab_focus(view);
  }
  return GDK_EVENT_PROPAGATE;
}
