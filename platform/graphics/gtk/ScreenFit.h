// How a top-level window is shown: as the window manager does it, or, where there is none, by
// placing it over its screen. UI thread.
#pragma once

#include "platform/graphics/WindowSystem.h"

#include <functional>

typedef struct _GtkWindow GtkWindow;

namespace Tessel::Platform::Graphics {

class ScreenFit {
 public:
  // Of a window that outlives it. Calls back after each change that no window manager tells of.
  ScreenFit(GtkWindow* window, std::function<void()> changed);
  ~ScreenFit();
  ScreenFit(const ScreenFit&) = delete;
  ScreenFit& operator=(const ScreenFit&) = delete;

  void showAs(ShownAs wanted);
  void fillScreen(ScreenFilling filling);

  // Whether the window has the size of the screen without a window manager: nobody else resizes it.
  bool coversScreen() const { return covering_ != ShownAs::Normal; }
  // How it is shown without a window manager; Normal with one.
  ShownAs covering() const { return covering_; }

 private:
  static void onScreenChanged(ScreenFit* self);
  void cover(ShownAs as);
  void uncover();
  void fit();

  GtkWindow* const window_;
  const std::function<void()> changed_;
  bool fills_ = false;  // for good
  ShownAs covering_ = ShownAs::Normal;
  int width_ = 0;  // as it was before it covered the screen
  int height_ = 0;
};

}  // namespace Tessel::Platform::Graphics
