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
}

PageAutomation::~PageAutomation() {
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
