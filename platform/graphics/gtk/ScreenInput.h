// Sees every touch, mouse and key event of the application's top-level windows before their widgets
// do, notifies the screen's listeners, and takes the keys that are reserved. UI thread.
#pragma once

#include "platform/graphics/ScreenEvents.h"

#include <bitset>
#include <cstdint>
#include <optional>
#include <vector>

typedef union _GdkEvent GdkEvent;
typedef struct _GtkWidget GtkWidget;

namespace Tessel::Platform::Graphics {

// Replaces the toolkit's global event handler and chains up to it. The latest instance is active.
class ScreenInput {
 public:
  ScreenInput();
  ~ScreenInput();
  ScreenInput(const ScreenInput&) = delete;
  ScreenInput& operator=(const ScreenInput&) = delete;

  // Events of other top-level windows, menus for example, are not part of a drag.
  void watch(GtkWidget* topLevel);
  void unwatch(GtkWidget* topLevel);

 private:
  static ScreenInput* current;

  struct Finger {
    std::uintptr_t sequence = 0;
    TouchPoint point;
  };

  // False: nobody else gets the event.
  bool handle(const GdkEvent* event);
  bool handleKey(const GdkEvent* event);
  void handleTouch(const GdkEvent* event, GtkWidget* topLevel);
  void handleMouse(const GdkEvent* event, GtkWidget* topLevel);
  void learnOrigin(GtkWidget* topLevel);
  IntPoint positionOf(const GdkEvent* event) const;
  int freeContact() const;
  void tellTouch(RawTouchEvent::Type type) const;
  void tellMouse(RawMouseEvent::Type type, IntPoint source, GtkWidget* topLevel) const;

  std::vector<GtkWidget*> topLevels_;
  std::vector<Finger> fingers_;
  IntPoint origin_;  // of the window on the screen, at the start of the drag
  bool buttonDown_ = false;
  // Whose press was taken, by the keyboard's numbers: their release is nobody's either.
  std::bitset<256> takenKeys_;
};

}  // namespace Tessel::Platform::Graphics
