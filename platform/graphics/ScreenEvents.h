// Fingers and the mouse in the application's windows, whatever window lies below them, and beside
// what the windows themselves make of them. UI thread.
//
// Places are in pixels from the corner of the top-level window, those of a web view that fills it.
#pragma once

#include "platform/base/Geometry.h"

#include <vector>

namespace Tessel::Platform::Graphics {

enum class ScreenEventType : int { Touch = 1, Mouse = 3 };

struct TouchPoint {
  int contactId = 0;  // the lowest number that was free when the finger came
  IntPoint position;
};

// All fingers at a moment at which one of them came, moved or went.
struct RawTouchEvent {
  enum Type : int {
    Touch = 100,    // the finger with contact 0 came
    Move = 101,     // any other change
    Release = 102,  // the finger with contact 0 went, and is among the points for the last time
  };

  // Null when there is none.
  const TouchPoint* pointForContactId(int id) const;

  Type type = Move;
  std::vector<TouchPoint> points;
};

// The mouse while its first button is down.
struct RawMouseEvent {
  enum Type : int {
    Press = 0,
    Move = 1,
    Release = 2,
    Cancel = 3,  // the button came up where nobody told us, in a menu for example
  };

  Type type = Move;
  IntPoint position;        // brought to the nearest place in the window
  IntPoint sourcePosition;  // where it is, which may be outside
};

class ScreenWindowListener {
 public:
  virtual ~ScreenWindowListener() = default;
  virtual void touchEvent(const RawTouchEvent& event) { static_cast<void>(event); }
  virtual void mouseEvent(const RawMouseEvent& event) { static_cast<void>(event); }
};

}  // namespace Tessel::Platform::Graphics
