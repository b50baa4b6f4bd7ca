// The display state of a top-level window: set through the window manager or, without one, by
// resizing the window to the screen. UI thread.
#pragma once

#include "platform/graphics/WindowSystem.h"

#include <functional>
#include <optional>

typedef struct _GtkWindow GtkWindow;

namespace Tessel::Platform::Graphics {

class ScreenFit {
 public:
  // The window must outlive this object. Calls `changed` after each change that no window manager
  // reports.
  ScreenFit(GtkWindow* window, std::function<void()> changed);
  ~ScreenFit();
  ScreenFit(const ScreenFit&) = delete;
  ScreenFit& operator=(const ScreenFit&) = delete;

  static bool hasManager(GtkWindow* window);

  void showAs(ShownAs wanted);
  void fillScreen(ScreenFilling filling);
  // Some content of the window is in full screen from now on, or is no more: so is the window
  // meanwhile, and afterwards it is shown as before, unless showAs() has been called in between.
  void showContent(bool fullScreen);
  // Gives the window another size, which it then has in place of the screen's. False, and nothing
  // changes, for one that fills the screen in any case.
  bool resize(IntSize size);

  // Whether the window was resized to the screen because there is no window manager.
  bool coversScreen() const { return covering_ != ShownAs::Normal; }
  // The display state without a window manager; Normal with one.
  ShownAs covering() const { return covering_; }

 private:
  static void onScreenChanged(ScreenFit* self);
  bool isFullScreen() const;
  void apply(ShownAs wanted);
  void endContent();
  void cover(ShownAs as);
  void uncover();
  void fit();

  GtkWindow* const window_;
  const std::function<void()> changed_;
  bool fills_ = false;  // never reset
  bool asked_ = false;  // somebody wants it to cover the screen, with a window manager as well
  ShownAs covering_ = ShownAs::Normal;
  int contents_ = 0;                      // in full screen
  std::optional<ShownAs> beforeContent_;  // how the window was shown, to be restored
  unsigned ending_ = 0;
  int width_ = 0;  // before the window covered the screen
  int height_ = 0;
};

}  // namespace Tessel::Platform::Graphics
