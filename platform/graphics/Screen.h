// The screen and state shared by all windows. UI thread.
#pragma once

#include "platform/base/ListenerList.h"
#include "platform/graphics/ScreenEvents.h"

#include <map>

namespace Tessel::Platform::Graphics {

// Horizontal and vertical.
struct PixelsPerInch {
  float x = 96;
  float y = 96;
};

class Screen {
 public:
  static Screen& primaryScreen();

  // Degrees: 0, 90, 180 or 270. Stored and returned only: applications do not rotate a desktop
  // screen.
  int rotation() const { return rotation_; }
  void setRotation(int degrees) { rotation_ = degrees; }

  // Pixels per point, by which font sizes are converted. Of a screen mode; the only one is -1, the
  // current mode.
  PixelsPerInch pixelsPerInch(int mode) const {
    static_cast<void>(mode);
    return pixelsPerInch_;
  }
  void setPixelsPerInch(PixelsPerInch value) { pixelsPerInch_ = value; }

 private:
  int rotation_ = 0;
  PixelsPerInch pixelsPerInch_;
};

class ScreenContext {
 public:
  static ScreenContext& sharedContext();

  // Flushes everything drawn so far to the display; with wait, returns after the display has
  // processed it.
  void flush(bool wait);

  // Registers a listener for one kind of event in the application's windows. Not owned; it must be
  // removed before it is destroyed.
  void addWindowListener(ScreenEventType type, ScreenWindowListener* listener);
  void removeWindowListener(ScreenEventType type, ScreenWindowListener* listener);
  // Called by the window system.
  void tell(const RawTouchEvent& event);
  void tell(const RawMouseEvent& event);

 private:
  std::map<ScreenEventType, ListenerList<ScreenWindowListener>> listeners_;
};

}  // namespace Tessel::Platform::Graphics
