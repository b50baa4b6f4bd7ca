// Hears of every finger and of the mouse in the application's top-level windows before their
// widgets do, and tells the screen's listeners. UI thread.
#pragma once

#include "platform/graphics/ScreenEvents.h"

#include <cstdint>
#include <optional>
#include <vector>

typedef union _GdkEvent GdkEvent;
typedef struct _GtkWidget GtkWidget;

namespace Tessel::Platform::Graphics {

// Takes the place of the toolkit's handler of all events, and calls that. The latest one hears.
class ScreenInput {
 public:
  ScreenInput();
  ~ScreenInput();
  ScreenInput(const ScreenInput&) = delete;
  ScreenInput& operator=(const ScreenInput&) = delete;

  // Events of other top-level windows, menus for example, are nobody's drag.
  void watch(GtkWidget* topLevel);
  void unwatch(GtkWidget* topLevel);

 private:
  static ScreenInput* current;

  struct Finger {
    std::uintptr_t sequence = 0;
    TouchPoint point;
  };

  void handle(const GdkEvent* event);
  void handleTouch(const GdkEvent* event, GtkWidget* topLevel);
  void handleMouse(const GdkEvent* event, GtkWidget* topLevel);
  void learnOrigin(GtkWidget* topLevel);
  IntPoint positionOf(const GdkEvent* event) const;
  int freeContact() const;
  void tellTouch(RawTouchEvent::Type type) const;
  void tellMouse(RawMouseEvent::Type type, IntPoint source, GtkWidget* topLevel) const;

  std::vector<GtkWidget*> topLevels_;
  std::vector<Finger> fingers_;
  IntPoint origin_;  // of the window on the screen, as it was when the drag began
  bool buttonDown_ = false;
};

}  // namespace Tessel::Platform::Graphics
