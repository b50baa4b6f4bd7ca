// Conversion between GDK input events and records.
#include "platform/graphics/remote/InputEvents.h"

#include <algorithm>
#include <array>
#include <bit>

namespace Tessel::Platform::Graphics::Remote {

namespace {

// The fields common to all positioned events.
template <typename Event>
void takePlace(const Event& event, InputRecord& record) {
  record.time = event.time;
  record.x = event.x;
  record.y = event.y;
  record.rootX = event.x_root;
  record.rootY = event.y_root;
  record.state = event.state;
}

template <typename Event>
void givePlace(const InputRecord& record, double x, double y, Event& event) {
  event.time = record.time;
  event.x = x;
  event.y = y;
  event.x_root = record.rootX;
  event.y_root = record.rootY;
  event.state = record.state;
}

// The text of a key event, for code that still uses it.
void giveKeyText(GdkEventKey& key) {
  std::array<char, 8> text{};
  const gunichar character = gdk_keyval_to_unicode(key.keyval);
  const int length = character == 0 ? 0 : g_unichar_to_utf8(character, text.data());
  key.string = g_strndup(text.data(), static_cast<gsize>(length));
  key.length = length;
}

GdkEventSequence* sequenceOf(std::uint64_t number) {
  return std::bit_cast<GdkEventSequence*>(static_cast<std::uintptr_t>(number));
}

}  // namespace

bool isPointer(const InputRecord& record) {
  switch (record.event) {
    case GDK_BUTTON_PRESS:
    case GDK_2BUTTON_PRESS:
    case GDK_3BUTTON_PRESS:
    case GDK_BUTTON_RELEASE:
    case GDK_MOTION_NOTIFY:
    case GDK_SCROLL:
      return true;
    default:
      return false;
  }
}

bool isCrossing(const InputRecord& record) {
  return record.event == GDK_ENTER_NOTIFY || record.event == GDK_LEAVE_NOTIFY;
}

bool isTouch(const InputRecord& record) {
  return record.event >= GDK_TOUCH_BEGIN && record.event <= GDK_TOUCH_CANCEL;
}

bool isKey(const InputRecord& record) {
  return record.event == GDK_KEY_PRESS || record.event == GDK_KEY_RELEASE;
}

std::uint64_t coalescingKey(const InputRecord& record) {
  if (record.event != GDK_MOTION_NOTIFY) return 0;
  return std::uint64_t{1} << 63 | std::uint64_t{record.state} << 32 |
         static_cast<std::uint32_t>(record.header.window);
}

bool inputRecordFor(const GdkEvent* event, InputRecord& record) {
  record.event = gdk_event_get_event_type(event);
  switch (record.event) {
    case GDK_BUTTON_PRESS:
    case GDK_2BUTTON_PRESS:
    case GDK_3BUTTON_PRESS:
    case GDK_BUTTON_RELEASE:
      takePlace(event->button, record);
      record.detail = event->button.button;
      return true;
    case GDK_MOTION_NOTIFY:
      takePlace(event->motion, record);
      return true;
    case GDK_SCROLL:
      takePlace(event->scroll, record);
      record.detail = event->scroll.direction;
      record.deltaX = event->scroll.delta_x;
      record.deltaY = event->scroll.delta_y;
      record.flag = event->scroll.is_stop;
      return true;
    case GDK_ENTER_NOTIFY:
    case GDK_LEAVE_NOTIFY:
      takePlace(event->crossing, record);
      record.detail = event->crossing.detail;
      record.mode = event->crossing.mode;
      record.flag = event->crossing.focus != FALSE;
      return true;
    case GDK_TOUCH_BEGIN:
    case GDK_TOUCH_UPDATE:
    case GDK_TOUCH_END:
    case GDK_TOUCH_CANCEL:
      takePlace(event->touch, record);
      record.flag = event->touch.emulating_pointer != FALSE;
      record.sequence = reinterpret_cast<std::uintptr_t>(event->touch.sequence);
      return true;
    case GDK_KEY_PRESS:
    case GDK_KEY_RELEASE:
      record.time = event->key.time;
      record.state = event->key.state;
      record.key = event->key.keyval;
      record.detail = event->key.hardware_keycode;
      record.group = event->key.group;
      record.flag = event->key.is_modifier;
      return true;
    case GDK_FOCUS_CHANGE:
      record.flag = event->focus_change.in != 0;
      return true;
    default:
      return false;
  }
}

GdkEvent* eventFor(const InputRecord& record, GdkWindow* window, double x, double y) {
  if (!isPointer(record) && !isCrossing(record) && !isTouch(record) && !isKey(record) &&
      record.event != GDK_FOCUS_CHANGE) {
    return nullptr;
  }
  GdkEvent* event = gdk_event_new(static_cast<GdkEventType>(record.event));
  event->any.window = GDK_WINDOW(g_object_ref(window));
  GdkSeat* seat = gdk_display_get_default_seat(gdk_window_get_display(window));
  const bool ofKeyboard = isKey(record) || record.event == GDK_FOCUS_CHANGE;
  gdk_event_set_device(event,
                       ofKeyboard ? gdk_seat_get_keyboard(seat) : gdk_seat_get_pointer(seat));
  if (record.event == GDK_MOTION_NOTIFY) {
    givePlace(record, x, y, event->motion);
  } else if (record.event == GDK_SCROLL) {
    givePlace(record, x, y, event->scroll);
    event->scroll.direction =
        static_cast<GdkScrollDirection>(std::min<std::uint32_t>(record.detail, GDK_SCROLL_SMOOTH));
    event->scroll.delta_x = record.deltaX;
    event->scroll.delta_y = record.deltaY;
    event->scroll.is_stop = record.flag & 1;
  } else if (isPointer(record)) {
    givePlace(record, x, y, event->button);
    event->button.button = record.detail;
  } else if (isCrossing(record)) {
    givePlace(record, x, y, event->crossing);
    event->crossing.mode = static_cast<GdkCrossingMode>(record.mode);
    event->crossing.detail = static_cast<GdkNotifyType>(record.detail);
    event->crossing.focus = record.flag != 0;
  } else if (isTouch(record)) {
    givePlace(record, x, y, event->touch);
    event->touch.emulating_pointer = record.flag != 0;
    event->touch.sequence = sequenceOf(record.sequence);
  } else if (isKey(record)) {
    event->key.time = record.time;
    event->key.state = record.state;
    event->key.keyval = record.key;
    event->key.hardware_keycode = static_cast<guint16>(record.detail);
    event->key.group = static_cast<guint8>(record.group);
    event->key.is_modifier = record.flag & 1;
    giveKeyText(event->key);
  } else {
    event->focus_change.in = static_cast<gint16>(record.flag != 0);
  }
  return event;
}

}  // namespace Tessel::Platform::Graphics::Remote
