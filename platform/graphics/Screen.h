// The screen and what is shared by everything drawn on it. UI thread.
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

  // Degrees: 0, 90, 180 or 270. Kept and told to whoever asks: a desktop screen is not turned by
  // its applications.
  int rotation() const { return rotation_; }
  void setRotation(int degrees) { rotation_ = degrees; }

  // By which points of fonts become pixels. Of one of the screen's modes, and there is only one:
  // -1, the current one.
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

  // Hands everything drawn so far to the display; with wait, returns when the display has it.
  void flush(bool wait);

  // Tells a listener about events of one kind in the application's windows. It is not owned, and
  // must be removed before it dies.
  void addWindowListener(ScreenEventType type, ScreenWindowListener* listener);
  void removeWindowListener(ScreenEventType type, ScreenWindowListener* listener);
  // For the window system.
  void tell(const RawTouchEvent& event);
  void tell(const RawMouseEvent& event);

 private:
  std::map<ScreenEventType, ListenerList<ScreenWindowListener>> listeners_;
};

}  // namespace Tessel::Platform::Graphics
