// The interface between the program's windows and the toolkit that displays them. UI thread.
#pragma once

#include "platform/base/Geometry.h"
#include "platform/base/String.h"
#include "platform/graphics/FrameClock.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Tessel::Platform::Graphics {

class Window;

// The display state of a top-level window on the desktop.
enum class ShownAs : int { Normal, Maximized, Fullscreen, Minimized, Covered };
// What the chrome calls them, by number.
inline constexpr std::array<const char*, 5> shownAsNames{"normal", "maximized", "fullscreen",
                                                         "minimized", "covered"};

// When a top-level window covers its screen and follows changes of its size: only without a window
// manager, or always (undecorated).
enum class ScreenFilling : int { WithoutManager, InAnyCase };

struct Color {
  std::uint8_t red = 0;
  std::uint8_t green = 0;
  std::uint8_t blue = 0;
  std::uint8_t alpha = 255;
  friend bool operator==(const Color&, const Color&) = default;
};

// Which input a window receives. The values are those that the chrome passes by name.
enum class Sensitivity : int { Test = 0, Always = 1, Never = 2, NoFocus = 3, Fullscreen = 4 };

// Whether a child's content is in full screen, and the top-level window with it. Filling: it covers
// its parent and all other children, wherever it is otherwise. Placed: it is where somebody has put
// it since.
enum class FullScreen : int { No = 0, Placed = 1, Filling = 2 };

// The complete state of a window that a window system displays.
struct WindowState {
  IntRect rect;             // of a child: in its parent; of a top-level window: its size
  bool fillsParent = true;  // until it is placed, a child covers its parent and follows its size
  FullScreen fullScreen = FullScreen::No;
  int zOrder = 0;  // higher is nearer to the viewer; equal ones in order of creation
  bool visible = true;
  int globalAlpha = 255;  // 0 to 255
  Sensitivity sensitivity = Sensitivity::Test;
  int transparency = 0;  // only stored: the toolkit blends by per-pixel alpha
  int orientation = 0;   // degrees; only stored: desktop windows are not rotated
  // Areas, relative to the window's corner, that are neither painted nor receive input: the window
  // below is visible there.
  std::vector<IntRect> discardRects;
};

using PictureTaken = std::function<void(const std::string& png)>;

// One window of a window system. Destroying it removes it from the screen.
class WindowSurface {
 public:
  virtual ~WindowSurface() = default;
  virtual void update(const WindowState& state) = 0;
  // Like update, for an explicitly requested rectangle. Window systems that report moves by others
  // asynchronously must apply it even if it equals the last known rectangle.
  virtual void place(const WindowState& state) { update(state); }
  virtual bool isMovedByOthers() const { return false; }
  virtual IntSize size() const = 0;
  // Fills the whole surface; visible after the next post.
  virtual void clear(Color color) = 0;
  virtual void post(const IntRect& area) = 0;
  // Requests the keyboard focus; the window manager may refuse.
  virtual void requestKeyboardFocus() = 0;
  // For top-level windows: requests a display state from the window manager. Without a window
  // manager the window gets the size of the screen, or its previous size. Covered cannot be
  // requested.
  virtual void showAs(ShownAs wanted) { static_cast<void>(wanted); }
  // For top-level windows, irrevocable: from now on the program cannot set the size.
  virtual void fillScreen(ScreenFilling filling) { static_cast<void>(filling); }
  // For top-level windows: a picture of the window with its children, a PNG in the display's
  // pixels, also while others cover it. Told at once or on a later turn of the main loop; empty if
  // there is none, as of a hidden window.
  virtual void takePicture(PictureTaken taken) { std::exchange(taken, nullptr)({}); }
};

class WindowSystem {
 public:
  virtual ~WindowSystem() = default;

  // The current window system, never missing: the default one keeps windows in memory and displays
  // nothing.
  static WindowSystem& current();
  static void install(std::unique_ptr<WindowSystem> system);

  // Creates a top-level window if the parent is null. The window outlives its surface. Null if the
  // system cannot create it.
  virtual std::unique_ptr<WindowSurface> createSurface(Window& window, WindowSurface* parent) = 0;
  // Sends everything drawn so far to the display; with wait, returns once the display has it.
  virtual void flush(bool wait) = 0;
  virtual FrameClock& frameClock() = 0;
};

}  // namespace Tessel::Platform::Graphics
