// The screen and what is shared by everything drawn on it. UI thread.
#pragma once

namespace Tessel::Platform::Graphics {

class Screen {
 public:
  static Screen& primaryScreen();

  // Degrees: 0, 90, 180 or 270. Kept and told to whoever asks: a desktop screen is not turned by
  // its applications.
  int rotation() const { return rotation_; }
  void setRotation(int degrees) { rotation_ = degrees; }

 private:
  int rotation_ = 0;
};

class ScreenContext {
 public:
  static ScreenContext& sharedContext();

  // Hands everything drawn so far to the display; with wait, returns when the display has it.
  void flush(bool wait);
};

}  // namespace Tessel::Platform::Graphics
