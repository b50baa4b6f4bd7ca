// Touch, mouse and key events in the application's top-level windows. UI thread.
#include "platform/graphics/gtk/ScreenInput.h"

#include "platform/graphics/ReservedKeys.h"
#include "platform/graphics/Screen.h"

#include <gtk/gtk.h>

#include <algorithm>
#include <cmath>

namespace Tessel::Platform::Graphics {

namespace {

// Bounds what a faulty device can report.
constexpr std::size_t mostFingers = 32;

constexpr int wantedEvents =
    GDK_BUTTON_PRESS_MASK | GDK_BUTTON_RELEASE_MASK | GDK_POINTER_MOTION_MASK | GDK_TOUCH_MASK;

bool isTouch(GdkEventType type) {
  return type == GDK_TOUCH_BEGIN || type == GDK_TOUCH_UPDATE || type == GDK_TOUCH_END ||
         type == GDK_TOUCH_CANCEL;
}

// On a keyboard of other letters the one that stands at that place of the first, Latin layout.
guint latinKeyOf(const GdkEventKey& event) {
  if (event.keyval < 0x80 || event.keyval >= 0xFE00) return event.keyval;
  guint key = event.keyval;
  gdk_keymap_translate_keyboard_state(
      gdk_keymap_get_for_display(gdk_window_get_display(event.window)), event.hardware_keycode,
      GdkModifierType{}, 0, &key, nullptr, nullptr, nullptr);
  return key < 0x80 ? key : event.keyval;
}

KeyCombination combinationOf(const GdkEventKey& event) {
  const auto holds = [&](guint modifier) { return (event.state & modifier) != 0; };
  return {latinKeyOf(event), holds(GDK_CONTROL_MASK), holds(GDK_MOD1_MASK), holds(GDK_SHIFT_MASK),
          holds(GDK_MOD4_MASK | GDK_META_MASK | GDK_SUPER_MASK)};
}

}  // namespace

ScreenInput* ScreenInput::current = nullptr;

ScreenInput::ScreenInput() {
  current = this;
  const auto handler = [](GdkEvent* event, gpointer data) {
    if (static_cast<ScreenInput*>(data)->handle(event)) gtk_main_do_event(event);
  };
  gdk_event_handler_set(handler, this, nullptr);
}

ScreenInput::~ScreenInput() {
  // A later instance may have replaced it.
  if (current != this) return;
  current = nullptr;
  const auto handler = [](GdkEvent* event, gpointer) { gtk_main_do_event(event); };
  gdk_event_handler_set(handler, nullptr, nullptr);
}

void ScreenInput::watch(GtkWidget* topLevel) {
  topLevels_.push_back(topLevel);
  // Even if no widget selects them.
  gtk_widget_add_events(topLevel, wantedEvents);
}

void ScreenInput::unwatch(GtkWidget* topLevel) {
  std::erase(topLevels_, topLevel);
}

bool ScreenInput::handle(const GdkEvent* event) {
  GdkWindow* const window = event->any.window;
  if (!window || gdk_window_is_destroyed(window)) return true;
  gpointer owner = nullptr;
  gdk_window_get_user_data(gdk_window_get_toplevel(window), &owner);
  const auto watched = std::find(topLevels_.begin(), topLevels_.end(), owner);
  if (watched == topLevels_.end()) return true;
  const GdkEventType type = gdk_event_get_event_type(event);
  if (type == GDK_KEY_PRESS || type == GDK_KEY_RELEASE) return handleKey(event);
  // Whoever has the keyboard now gets the releases.
  if (type == GDK_FOCUS_CHANGE) takenKeys_.reset();
  if (isTouch(type)) {
    handleTouch(event, *watched);
  } else {
    handleMouse(event, *watched);
  }
  return true;
}

bool ScreenInput::handleKey(const GdkEvent* event) {
  auto taken = takenKeys_[event->key.hardware_keycode % takenKeys_.size()];
  if (event->type == GDK_KEY_RELEASE) {
    const bool isTaken = taken;
    taken = false;
    return !isTaken;
  }
  const bool isRepeated = taken;
  taken = ReservedKeys::instance().press(combinationOf(event->key), isRepeated);
  return !taken;
}

// Queried once per drag, as it is a round trip to the display. Positions are taken on the screen,
// since window-relative ones change while windows are moved.
void ScreenInput::learnOrigin(GtkWidget* topLevel) {
  gdk_window_get_origin(gtk_widget_get_window(topLevel), &origin_.x, &origin_.y);
}

IntPoint ScreenInput::positionOf(const GdkEvent* event) const {
  gdouble x = 0;
  gdouble y = 0;
  gdk_event_get_root_coords(event, &x, &y);
  return {static_cast<int>(std::floor(x)) - origin_.x, static_cast<int>(std::floor(y)) - origin_.y};
}

int ScreenInput::freeContact() const {
  const auto isTaken = [this](int id) {
    return std::any_of(fingers_.begin(), fingers_.end(),
                       [id](const Finger& finger) { return finger.point.contactId == id; });
  };
  int id = 0;
  while (isTaken(id)) ++id;
  return id;
}

void ScreenInput::handleTouch(const GdkEvent* event, GtkWidget* topLevel) {
  const GdkEventType type = gdk_event_get_event_type(event);
  const auto sequence = reinterpret_cast<std::uintptr_t>(gdk_event_get_event_sequence(event));
  if (type == GDK_TOUCH_BEGIN) {
    // Set for a touch that begins while there is no other. Any known touches belonged to windows
    // destroyed below them.
    if (event->touch.emulating_pointer) fingers_.clear();
    if (fingers_.empty()) learnOrigin(topLevel);
    if (fingers_.size() >= mostFingers) return;
    std::erase_if(fingers_, [=](const Finger& finger) { return finger.sequence == sequence; });
    const int contact = freeContact();
    fingers_.push_back({sequence, {contact, positionOf(event)}});
    return tellTouch(contact == 0 ? RawTouchEvent::Touch : RawTouchEvent::Move);
  }
  const auto finger = std::find_if(fingers_.begin(), fingers_.end(), [=](const Finger& candidate) {
    return candidate.sequence == sequence;
  });
  if (finger == fingers_.end()) return;
  // A cancelled touch carries no valid position.
  if (type != GDK_TOUCH_CANCEL) finger->point.position = positionOf(event);
  if (type == GDK_TOUCH_UPDATE) return tellTouch(RawTouchEvent::Move);
  if (finger->point.contactId == 0) {
    tellTouch(RawTouchEvent::Release);
    fingers_.erase(finger);
  } else {
    fingers_.erase(finger);
    tellTouch(RawTouchEvent::Move);
  }
}

void ScreenInput::tellTouch(RawTouchEvent::Type type) const {
  RawTouchEvent told{type, {}};
  for (const Finger& finger : fingers_) told.points.push_back(finger.point);
  ScreenContext::sharedContext().tell(told);
}

void ScreenInput::handleMouse(const GdkEvent* event, GtkWidget* topLevel) {
  // Ignore pointer events emulated from a touch.
  if (gdk_event_get_pointer_emulated(const_cast<GdkEvent*>(event))) return;
  const GdkEventType type = gdk_event_get_event_type(event);
  guint button = 0;
  gdk_event_get_button(event, &button);
  if (type == GDK_BUTTON_PRESS && button == GDK_BUTTON_PRIMARY) {
    learnOrigin(topLevel);
    buttonDown_ = true;
    return tellMouse(RawMouseEvent::Press, positionOf(event), topLevel);
  }
  if (!buttonDown_) return;
  if (type == GDK_BUTTON_RELEASE && button == GDK_BUTTON_PRIMARY) {
    buttonDown_ = false;
    return tellMouse(RawMouseEvent::Release, positionOf(event), topLevel);
  }
  // Crossing events carry the button state from before a grab.
  if (type != GDK_MOTION_NOTIFY) return;
  GdkModifierType state{};
  gdk_event_get_state(event, &state);
  buttonDown_ = (state & GDK_BUTTON1_MASK) != 0;
  tellMouse(buttonDown_ ? RawMouseEvent::Move : RawMouseEvent::Cancel, positionOf(event), topLevel);
}

void ScreenInput::tellMouse(RawMouseEvent::Type type, IntPoint source, GtkWidget* topLevel) const {
  const int right = std::max(gtk_widget_get_allocated_width(topLevel) - 1, 0);
  const int bottom = std::max(gtk_widget_get_allocated_height(topLevel) - 1, 0);
  const IntPoint inside{std::clamp(source.x, 0, right), std::clamp(source.y, 0, bottom)};
  ScreenContext::sharedContext().tell(RawMouseEvent{type, inside, source});
}

}  // namespace Tessel::Platform::Graphics
