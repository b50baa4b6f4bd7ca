// What is under the pointer in a page, and its context menu. Main thread.
#include "engine/webkit/features/PageMenu.h"

#include "engine/OrvWebEvents.h"
#include "engine/webkit/base/EngineValues.h"
#include "engine/webkit/base/PageContext.h"
#include "engine/webkit/network/Downloads.h"

using Item = OrvWebContextMenuItem;
using Tessel::Platform::String;

namespace {

// The engine's hit test; the content script reports the rest.
OrvWebContext contextOf(WebKitHitTestResult* hit, OrvWebContext context) {
  const auto is = [&](guint what) { return (webkit_hit_test_result_get_context(hit) & what) != 0; };
  context.isImage = is(WEBKIT_HIT_TEST_RESULT_CONTEXT_IMAGE);
  context.isInput = is(WEBKIT_HIT_TEST_RESULT_CONTEXT_EDITABLE);
  context.isSelectable = is(WEBKIT_HIT_TEST_RESULT_CONTEXT_SELECTION);
  context.url = String(webkit_hit_test_result_get_link_uri(hit));
  const char* image = webkit_hit_test_result_get_image_uri(hit);
  context.src = String(image ? image : webkit_hit_test_result_get_media_uri(hit));
  return context;
}

}  // namespace

PageMenu::PageMenu(PageContext& page, WebKitWebView* view) : page_(page), view_(view) {
  g_signal_connect(view_, "mouse-target-changed", G_CALLBACK(onPointedAt), this);
  g_signal_connect(view_, "context-menu", G_CALLBACK(onMenu), this);
}

PageMenu::~PageMenu() {
  g_signal_handlers_disconnect_by_data(view_, this);
}

void PageMenu::onPointedAt(WebKitWebView*, WebKitHitTestResult* hit, guint, PageMenu* self) {
  const auto page = self->page_.shared_from_this();
  const bool link = webkit_hit_test_result_context_is_link(hit) != FALSE;
  page->update<&PageState::status>(
      String(link ? webkit_hit_test_result_get_link_uri(hit) : nullptr));
  self->updateContext(hit);
}

void PageMenu::updateContext(WebKitHitTestResult* hit) {
  if (!page_.client()) return;
  page_.update<&PageState::currentContext>(
      contextOf(hit, page_.client()->pageState().currentContext));
}

gboolean PageMenu::onMenu(WebKitWebView*, WebKitContextMenu* menu, GdkEvent* input,
                          WebKitHitTestResult* hit, PageMenu* self) {
  const auto page = self->page_.shared_from_this();
  self->hit_.reset(WEBKIT_HIT_TEST_RESULT(g_object_ref(hit)));
  self->updateContext(hit);
  if (!page->wants(OrvWebEvent::ContextMenuRequestEvent)) return FALSE;
  OrvWebContextMenuRequestEvent event;
  event.menuItems = menuItemsOf(menu);
  gdouble x = 0;
  gdouble y = 0;
  if (input && gdk_event_get_coords(input, &x, &y) != FALSE) {
    event.x = static_cast<int>(x);
    event.y = static_cast<int>(y);
  }
  const unsigned int runsBefore = self->runs_;
  page->raise(event);
  // If prevented, the chrome shows its own menu. Its commands may overtake its answer to the event.
  const bool isOver = self->runs_ != runsBefore;
  if (event.isPreventDefault() && !isOver && page->wants(OrvWebEvent::ContextMenuCancelEvent)) {
    self->watchForEnd();
  }
  return event.isPreventDefault();
}

// The chrome's menu is cancelled by other input to the page.
void PageMenu::watchForEnd() {
  forgetEnd();
  for (const char* signal : {"button-press-event", "scroll-event", "touch-event"}) {
    g_signal_connect(view_, signal, G_CALLBACK(onInput), this);
  }
  g_signal_connect(view_, "load-changed", G_CALLBACK(onLoadChanged), this);
}

void PageMenu::forgetEnd() {
  g_signal_handlers_disconnect_by_func(view_, reinterpret_cast<gpointer>(onInput), this);
  g_signal_handlers_disconnect_by_func(view_, reinterpret_cast<gpointer>(onLoadChanged), this);
}

void PageMenu::cancel(OrvWebContextMenuCancelReason reason) {
  const auto page = page_.shared_from_this();
  forgetEnd();
  OrvWebContextMenuCancelEvent event;
  event.reason = reason;
  page->raise(event);
}

gboolean PageMenu::onInput(GtkWidget*, GdkEvent* event, PageMenu* self) {
  const GdkEventType type = gdk_event_get_event_type(event);
  if (type == GDK_SCROLL) {
    self->cancel(OrvWebContextMenuCancelReason::TouchMove);
  } else if (type == GDK_BUTTON_PRESS || type == GDK_TOUCH_BEGIN) {
    // Lifting the finger that opened the menu does not cancel it.
    self->cancel(OrvWebContextMenuCancelReason::SelectionCancelled);
  }
  return GDK_EVENT_PROPAGATE;
}

void PageMenu::onLoadChanged(WebKitWebView*, WebKitLoadEvent event, PageMenu* self) {
  if (event != WEBKIT_LOAD_COMMITTED) return;
  self->cancel(OrvWebContextMenuCancelReason::ResetStateForNewObject);
}

void PageMenu::run(Item item) {
  const auto page = page_.shared_from_this();
  ++runs_;
  forgetEnd();
  const auto edit = [&](const char* command) {
    webkit_web_view_execute_editing_command(view_, command);
  };
  const char* link = hit_ ? webkit_hit_test_result_get_link_uri(hit_.get()) : nullptr;
  const char* image = hit_ ? webkit_hit_test_result_get_image_uri(hit_.get()) : nullptr;
  const auto copy = [](const char* text) {
    if (text) gtk_clipboard_set_text(gtk_clipboard_get(GDK_SELECTION_CLIPBOARD), text, -1);
  };
  switch (item) {
    case Item::Cut:
      return edit(WEBKIT_EDITING_COMMAND_CUT);
    case Item::Copy:
      return edit(WEBKIT_EDITING_COMMAND_COPY);
    case Item::Paste:
      return edit(WEBKIT_EDITING_COMMAND_PASTE);
    case Item::Delete:
      return edit("Delete");
    case Item::SelectAll:
      return edit(WEBKIT_EDITING_COMMAND_SELECT_ALL);
    case Item::ClearField:
      edit(WEBKIT_EDITING_COMMAND_SELECT_ALL);
      return edit("Delete");
    case Item::OpenLink:
      if (link) page->loadControl().loadAgain(link);
      return;
    case Item::SaveLinkAs:
      if (link) page->services().downloads.start(view_, link, String());
      return;
    case Item::CopyLink:
      return copy(link);
    case Item::ViewImage:
      if (image) page->loadControl().loadAgain(image);
      return;
    case Item::SaveImage:
      if (image) page->services().downloads.start(view_, image, String());
      return;
    case Item::CopyImageLink:
      return copy(image);
    case Item::InspectElement:
      webkit_web_inspector_show(webkit_web_view_get_inspector(view_));
      // Inside the page it would lie below other web views.
      webkit_web_inspector_detach(webkit_web_view_get_inspector(view_));
      return;
    default:
      return;
  }
}
