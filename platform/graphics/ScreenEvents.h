// Touch and mouse events in the application's windows, independent of the window below the pointer
// and of how that window handles them. UI thread.
//
// Positions are in pixels from the corner of the top-level window, as for a web view that fills it.
#pragma once

#include "platform/base/Geometry.h"

#include <vector>

namespace Tessel::Platform::Graphics {

enum class ScreenEventType : int { Touch = 1, Mouse = 3 };

struct TouchPoint {
  int contactId = 0;  // the lowest number that was free when the touch began
  IntPoint position;
};

// All touch points at the time one of them began, moved or ended.
struct RawTouchEvent {
  enum Type : int {
    Touch = 100,    // the touch with contact 0 began
    Move = 101,     // any other change
    Release = 102,  // the touch with contact 0 ended; it is among the points for the last time
  };

  // Null if there is none.
  const TouchPoint* pointForContactId(int id) const;

  Type type = Move;
  std::vector<TouchPoint> points;
};

// The mouse while its primary button is pressed.
struct RawMouseEvent {
  enum Type : int {
    Press = 0,
    Move = 1,
    Release = 2,
    Cancel = 3,  // the button was released outside our windows, in a menu for example
  };

  Type type = Move;
  IntPoint position;        // clamped to the window
  IntPoint sourcePosition;  // unclamped, may be outside the window
};

class ScreenWindowListener {
 public:
  virtual ~ScreenWindowListener() = default;
  virtual void touchEvent(const RawTouchEvent& event) { static_cast<void>(event); }
  virtual void mouseEvent(const RawMouseEvent& event) { static_cast<void>(event); }
};

}  // namespace Tessel::Platform::Graphics
