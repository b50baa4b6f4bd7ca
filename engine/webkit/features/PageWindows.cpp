// The windows that a page opens and closes. Main thread.
#include "engine/webkit/features/PageWindows.h"

#include "engine/OrvWebEvents.h"
#include "engine/webkit/base/BoundedWait.h"
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
constexpr std::chrono::seconds answerLimit{10};
// How long a chrome may take to close a window that WebDriver has closed.
constexpr std::chrono::seconds closeLimit{5};

}  // namespace

PageWindows::PageWindows(PageContext& page, HangMonitor& hangMonitor, WebKitWebView* view)
    : page_(page), hangMonitor_(hangMonitor), view_(view) {
  g_signal_connect(view_, "create", G_CALLBACK(onCreate), this);
  g_signal_connect(view_, "close", G_CALLBACK(onClose), this);
}

PageWindows::~PageWindows() {
  g_signal_handlers_disconnect_by_data(view_, this);
  if (waiting_) waiting_->answered = true;
}

GtkWidget* PageWindows::onCreate(WebKitWebView* view, WebKitNavigationAction* action,
                                 PageWindows* self) {
  const auto opener = self->page_.shared_from_this();
  if (!opener->client()) return nullptr;
  OrvWebOpenWindowEvent event;
  event.url = String(webkit_uri_request_get_uri(webkit_navigation_action_get_request(action)));
  event.windowName = String(webkit_navigation_action_get_frame_name(action));
  event.isPopup = webkit_navigation_action_is_user_gesture(action) == FALSE;
  event.button = static_cast<int>(webkit_navigation_action_get_mouse_button(action));
  event.modifierMask = webkit_navigation_action_get_modifiers(action) & keyboardModifiers;
  const auto popup = self->ask(event).value_or(nullptr);
  if (!popup || !opener->client()) return nullptr;
  if (!popup->becomeWindowOf(view)) {
    logAlways(LogError, "A window cannot be opened in a web view that has loaded something.");
    return nullptr;
  }
  return GTK_WIDGET(popup->view());
}

std::optional<std::shared_ptr<PageContext>> PageWindows::ask(OrvWebOpenWindowEvent& event) {
  const auto opener = page_.shared_from_this();
  event.waitHandle = nextPromptNumber();
  event.view = opener->client()->popupView();
  const unsigned int number = event.waitHandle();
  // The opener is blocked meanwhile.
  const auto pause = hangMonitor_.pauseFor();
  opener->raise(event);
  if (!opener->client() || event.isPreventDefault() ||
      event.action() == OrvWebOpenWindowAction::DISCARD) {
    return nullptr;
  }
  if (event.wait()) return waitForAnswer(number);
  auto given = std::dynamic_pointer_cast<PageContext>(opener->client()->pageOf(event.view()));
  return given ? std::optional(std::move(given)) : std::nullopt;
}

std::optional<std::shared_ptr<PageContext>> PageWindows::waitForAnswer(unsigned int number) {
  Waiting waiting{number, nullptr, false};
  Waiting* outer = waiting_;
  waiting_ = &waiting;
  const auto page = page_.shared_from_this();
  const bool isAnswered = waitInMainLoop(answerLimit, [&] { return waiting.answered; });
  if (!isAnswered) {
    logAlways(LogError, "The chrome has made no web view for window %u.", number);
  }
  // Closed meanwhile, this object is gone.
  if (page->client()) waiting_ = outer;
  return isAnswered ? std::optional(waiting.page) : std::nullopt;
}

void PageWindows::answer(unsigned int number, std::shared_ptr<PageContext> page) {
  if (!waiting_ || waiting_->number != number || waiting_->answered) return;
  waiting_->answered = true;
  waiting_->page = std::move(page);
}

void PageWindows::onClose(WebKitWebView*, PageWindows* self) {
  const auto page = self->page_.shared_from_this();
  if (std::exchange(self->closeAsked_, false) && page->client())
    return page->client()->closeAllowed();
  OrvWebCloseWindowEvent event;
  const bool isDriven = webkit_web_view_is_controlled_by_automation(self->view_) != FALSE;
  page->raise(event);
  // Whether the web view is removed is up to the chrome.
  if (!isDriven || !page->client()) return;
  if (page->client()->isOwnWindow()) return page->client()->closeAllowed();
  // The next that a WebDriver client asks is which windows there are.
  if (page->wants(OrvWebEvent::CloseWindow)) {
    waitInMainLoop(closeLimit, [&] { return !page->client(); });
  }
}
