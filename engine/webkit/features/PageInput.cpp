// The keyboard, the pointer and fingers in a page, and the text that is typed there. Main thread.
#include "engine/webkit/features/PageInput.h"

#include "engine/webkit/base/EngineValues.h"
#include "engine/webkit/base/PageContext.h"

#include <algorithm>
#include <utility>

namespace {

// A key that the page does not handle is delivered to the view a second time, as a copy. It is
// marked with this bit of its state, which no keyboard sets and the toolkit ignores.
constexpr guint seenBefore = GDK_MODIFIER_RESERVED_29_MASK;

unsigned int characterOf(guint keyValue) {
  return gdk_keyval_to_unicode(keyValue);
}

// What the key would be without the modifiers.
guint plainValueOf(const GdkEventKey& event) {
  guint value = event.keyval;
  gdk_keymap_translate_keyboard_state(
      gdk_keymap_get_for_display(gdk_window_get_display(event.window)), event.hardware_keycode,
      GdkModifierType{}, event.group, &value, nullptr, nullptr, nullptr);
  return value;
}

OrvWebUnhandledKeyInputEvent unhandledInput(const GdkEventKey& event) {
  const auto holds = [&](guint modifier) { return (event.state & modifier) != 0; };
  OrvWebUnhandledKeyInputEvent told;
  told.altActive = holds(GDK_MOD1_MASK);
  told.ctrlActive = holds(GDK_CONTROL_MASK);
  told.metaActive = holds(GDK_MOD4_MASK | GDK_META_MASK | GDK_SUPER_MASK);
  told.shiftActive = holds(GDK_SHIFT_MASK);
  told.character = characterOf(event.keyval);
  told.alternateCharacter = characterOf(plainValueOf(event));
  told.keyDown = event.type == GDK_KEY_PRESS;
  told.keycode = event.keyval;
  told.modifierMask = event.state & keyboardModifiers;
  return told;
}

bool isArrow(guint keyValue) {
  return keyValue >= GDK_KEY_Left && keyValue <= GDK_KEY_Down;
}

}  // namespace

PageInput::PageInput(PageContext& page, WebKitWebView* view)
    : page_(page), view_(view), method_(inputMethodNew(GTK_WIDGET(view))) {
  inputMethodSetClient(method_.get(), this);
  webkit_web_view_set_input_method_context(view_, method_.get());
  const auto connect = [&](const char* signal, auto handler) {
    g_signal_connect(view_, signal, G_CALLBACK(handler), this);
  };
  connect("focus-in-event", onFocus);
  connect("focus-out-event", onFocus);
  connect("button-press-event", onPointer);
  connect("button-release-event", onPointer);
  connect("motion-notify-event", onPointer);
  connect("touch-event", onTouch);
  connect("key-press-event", onKey);
  connect("key-release-event", onKey);
  // After the engine has left the key unhandled, and before the window handles it.
  g_signal_connect_after(view_, "key-press-event", G_CALLBACK(onKeyLeft), this);
  g_signal_connect(gtk_widget_get_toplevel(GTK_WIDGET(view_)), "move-focus",
                   G_CALLBACK(onMoveFocus), this);
}

PageInput::~PageInput() {
  inputMethodSetClient(method_.get(), nullptr);
  g_signal_handlers_disconnect_by_data(gtk_widget_get_toplevel(GTK_WIDGET(view_)), this);
  g_signal_handlers_disconnect_by_data(view_, this);
}

gboolean PageInput::onFocus(GtkWidget*, GdkEventFocus* event, PageInput* self) {
  const auto page = self->page_.shared_from_this();
  // Releases are not delivered here while the focus is elsewhere.
  self->heldKeys_.reset();
  OrvWebFocusEvent focus;
  focus.isFocused = event->in != 0;
  page->raise(focus);
  return GDK_EVENT_PROPAGATE;
}

gboolean PageInput::onPointer(GtkWidget*, GdkEvent* event, PageInput* self) {
  const auto page = self->page_.shared_from_this();
  // Pointer events that are emulated for touch are reported as touch.
  if (page->wants(OrvWebEvent::MouseEvent) && !gdk_event_get_pointer_emulated(event)) {
    page->raise(OrvWebEvent::MouseEvent);
  }
  return GDK_EVENT_PROPAGATE;
}

gboolean PageInput::onTouch(GtkWidget*, GdkEvent* event, PageInput* self) {
  const auto page = self->page_.shared_from_this();
  const bool isCancelled = gdk_event_get_event_type(event) == GDK_TOUCH_CANCEL;
  const auto type = isCancelled ? OrvWebEvent::TouchCancelEvent : OrvWebEvent::TouchEvent;
  if (page->wants(type)) page->raise(type);
  return GDK_EVENT_PROPAGATE;
}

gboolean PageInput::onKey(GtkWidget*, GdkEventKey* event, PageInput* self) {
  if ((event->state & seenBefore) != 0) return GDK_EVENT_PROPAGATE;
  const auto page = self->page_.shared_from_this();
  event->state |= seenBefore;
  auto held = self->heldKeys_[event->hardware_keycode % self->heldKeys_.size()];
  const bool isRepeated = event->type == GDK_KEY_PRESS && held;
  held = event->type == GDK_KEY_PRESS;
  if (held && isArrow(event->keyval) && (event->state & GDK_MOD1_MASK) != 0) {
    self->arrow_ = unhandledInput(*event);
  }
  if (page->wants(OrvWebEvent::KeyEvent)) page->raise(OrvWebEvent::KeyEvent);
  return self->notifyOfKey(*event, isRepeated) ? GDK_EVENT_STOP : GDK_EVENT_PROPAGATE;
}

// Whether the chrome consumes the key. This object may be gone after the event.
bool PageInput::notifyOfKey(const GdkEventKey& event, bool isRepeated) {
  if (!takesText_ || !wantsNotification(OrvWebEvent::InputNotificationKeyEvent)) return false;
  OrvWebInputNotificationKeyEvent told;
  const unsigned int character = characterOf(event.keyval);
  told.character = character != 0 ? static_cast<int>(character) : -static_cast<int>(event.keyval);
  told.eventType = event.type == GDK_KEY_RELEASE ? OrvWebInputKeyEvent::KeyUp
                   : isRepeated                  ? OrvWebInputKeyEvent::KeyRepeat
                                                 : OrvWebInputKeyEvent::KeyDown;
  told.modifierMask = event.state & keyboardModifiers;
  page_.raise(told);
  return told.isPreventDefault();
}

gboolean PageInput::onKeyLeft(GtkWidget*, GdkEventKey* event, PageInput* self) {
  const auto page = self->page_.shared_from_this();
  if (!page->wants(OrvWebEvent::UnhandledKeyInput)) return GDK_EVENT_PROPAGATE;
  OrvWebUnhandledKeyInputEvent told = unhandledInput(*event);
  page->raise(told);
  // The chrome has it; the window would move the focus.
  return GDK_EVENT_STOP;
}

void PageInput::keyLeft() {
  if (auto arrow = std::exchange(arrow_, std::nullopt)) page_.raise(*arrow);
}

// The engine runs the toolkit's key bindings before it asks the page; some move the focus to
// another widget.
void PageInput::onMoveFocus(GtkWindow* window, GtkDirectionType, PageInput* self) {
  if (gtk_window_get_focus(window) == GTK_WIDGET(self->view_) &&
      self->page_.wants(OrvWebEvent::UnhandledKeyInput)) {
    g_signal_stop_emission_by_name(window, "move-focus");
  }
}

// Text.

bool PageInput::wantsNotification(OrvWebEvent::Type type) const {
  return page_.wants(type) && page_.client()->settings().isEnableInputNotifications;
}

bool PageInput::textFocused() {
  const auto page = page_.shared_from_this();
  takesText_ = true;
  commits_ = 0;
  // A position in the previous field means nothing in this one.
  position_ = anchor_ = -1;
  if (wantsNotification(OrvWebEvent::InputNotificationFocusEvent)) {
    OrvWebInputNotificationFocusEvent told;
    told.focused = true;
    page->raise(told);
  }
  if (!page->wants(OrvWebEvent::KeyboardRequestedEvent)) return true;
  OrvWebKeyboardRequestedEvent request;
  page->raise(request);
  return !request.isPreventDefault();
}

void PageInput::textUnfocused() {
  const auto page = page_.shared_from_this();
  takesText_ = false;
  if (!wantsNotification(OrvWebEvent::InputNotificationFocusEvent)) return;
  OrvWebInputNotificationFocusEvent told;
  page->raise(told);
}

void PageInput::caretMoved(int position, int anchor) {
  const auto page = page_.shared_from_this();
  // The caret position at focus time may be reported after the first key.
  const bool isOld = position_ < 0 && position < committedEnd_;
  if (position != position_ || anchor != anchor_) {
    position_ = position;
    anchor_ = anchor;
    notify(OrvWebInputNotification::CaretChanged);
  }
  if (commits_ == 0 || isOld) return;
  // The caret may have moved past several commits at once, or less far than expected.
  commits_ = position_ >= committedEnd_ ? 0 : commits_ - 1;
  notify(OrvWebInputNotification::InputEventComplete);
}

void PageInput::textCommitted(int characters) {
  if (commits_++ == 0) committedEnd_ = std::max(std::min(position_, anchor_), 0);
  committedEnd_ += characters;
}

void PageInput::compositionEnded() {
  notify(OrvWebInputNotification::EndComposition);
}

void PageInput::notify(OrvWebInputNotification what) {
  const auto page = page_.shared_from_this();
  if (!wantsNotification(OrvWebEvent::InputNotificationEvent)) return;
  OrvWebInputNotificationEvent told;
  told.eventType = what;
  told.position = position_;
  told.secondaryPosition = anchor_;
  page->raise(told);
}
