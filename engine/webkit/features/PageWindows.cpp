// The windows that a page opens and closes. Main thread.
#include "engine/webkit/features/PageWindows.h"

#include "engine/OrvWebEvents.h"
#include "engine/webkit/base/EngineValues.h"
#include "engine/webkit/base/PageContext.h"
#include "engine/webkit/features/HangMonitor.h"
#include "engine/webkit/features/PagePrompts.h"
#include "platform/base/Log.h"

using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::String;

namespace {

// How long a chrome may take to prepare a web view for a window. The opener is blocked meanwhile.
constexpr guint mostSeconds = 10;

}  // namespace

PageWindows::PageWindows(PageContext& page, HangMonitor& hangMonitor, WebKitWebView* view)
    : page_(page), hangMonitor_(hangMonitor), view_(view) {
  g_signal_connect(view_, "create", G_CALLBACK(onCreate), this);
  g_signal_connect(view_, "close", G_CALLBACK(onClose), this);
}

PageWindows::~PageWindows() {
  g_signal_handlers_disconnect_by_data(view_, this);
  if (waiting_) {
    waiting_->answered = true;
    g_main_loop_quit(waiting_->loop);
  }
}

GtkWidget* PageWindows::onCreate(WebKitWebView* view, WebKitNavigationAction* action,
                                 PageWindows* self) {
  const auto opener = self->page_.shared_from_this();
  if (!opener->client()) return nullptr;
  std::shared_ptr<PageContext> popup;
  const auto pageOf = [&](OrvWebView* prepared) {
    return std::dynamic_pointer_cast<PageContext>(opener->client()->pageOf(prepared));
  };
  OrvWebOpenWindowEvent event;
  event.url = String(webkit_uri_request_get_uri(webkit_navigation_action_get_request(action)));
  event.windowName = String(webkit_navigation_action_get_frame_name(action));
  event.isPopup = webkit_navigation_action_is_user_gesture(action) == FALSE;
  event.button = static_cast<int>(webkit_navigation_action_get_mouse_button(action));
  event.modifierMask = webkit_navigation_action_get_modifiers(action) & keyboardModifiers;
  event.waitHandle = nextPromptNumber();
  event.view = opener->client()->popupView();
  const unsigned int number = event.waitHandle();
  // The opener is blocked meanwhile.
  const auto pause = self->hangMonitor_.pauseFor();
  opener->raise(event);
  if (!opener->client() || event.isPreventDefault() ||
      event.action() == OrvWebOpenWindowAction::DISCARD) {
    return nullptr;
  }
  popup = event.wait() ? self->waitForAnswer(number) : pageOf(event.view());
  if (!popup || !opener->client()) return nullptr;
  if (!popup->becomeWindowOf(view)) {
    logAlways(LogError, "A window cannot be opened in a web view that has loaded something.");
    return nullptr;
  }
  return GTK_WIDGET(popup->view());
}

std::shared_ptr<PageContext> PageWindows::waitForAnswer(unsigned int number) {
  Waiting waiting{number, g_main_loop_new(nullptr, FALSE), nullptr, false};
  Waiting* outer = waiting_;
  waiting_ = &waiting;
  const guint limit = g_timeout_add_seconds(
      mostSeconds,
      [](gpointer loop) -> gboolean {
        g_main_loop_quit(static_cast<GMainLoop*>(loop));
        return G_SOURCE_CONTINUE;
      },
      waiting.loop);
  const auto page = page_.shared_from_this();
  g_main_loop_run(waiting.loop);
  g_source_remove(limit);
  g_main_loop_unref(waiting.loop);
  if (!waiting.answered) {
    logAlways(LogError, "The chrome has made no web view for window %u; it is not opened.", number);
  }
  // Closed meanwhile, this object is gone.
  if (page->client()) waiting_ = outer;
  return waiting.page;
}

void PageWindows::answer(unsigned int number, std::shared_ptr<PageContext> page) {
  if (!waiting_ || waiting_->number != number || waiting_->answered) return;
  waiting_->answered = true;
  waiting_->page = std::move(page);
  g_main_loop_quit(waiting_->loop);
}

void PageWindows::onClose(WebKitWebView*, PageWindows* self) {
  const auto page = self->page_.shared_from_this();
  if (std::exchange(self->closeAsked_, false) && page->client())
    return page->client()->closeAllowed();
  OrvWebCloseWindowEvent event;
  page->raise(event);
  // Whether the web view is removed is up to the chrome.
}
