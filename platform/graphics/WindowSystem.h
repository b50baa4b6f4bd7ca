// The seam between windows as the program sees them and the toolkit that shows them.
// UI thread.
#pragma once

#include "platform/base/Geometry.h"
#include "platform/base/String.h"
#include "platform/graphics/FrameClock.h"

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace Tessel::Platform::Graphics {

class Window;

// How the desktop shows a top-level window.
enum class ShownAs : int { Normal, Maximized, Fullscreen, Minimized, Covered };
// What the chrome calls them, by number.
inline constexpr std::array<const char*, 5> shownAsNames{"normal", "maximized", "fullscreen",
                                                         "minimized", "covered"};

// Whether a top-level window covers its screen and follows it: only where no window manager would
// place it, or always, without a border.
enum class ScreenFilling : int { WithoutManager, InAnyCase };

struct Color {
  std::uint8_t red = 0;
  std::uint8_t green = 0;
  std::uint8_t blue = 0;
  std::uint8_t alpha = 255;
  friend bool operator==(const Color&, const Color&) = default;
};

// Which input a window takes. The numbers are those that the chrome passes by name.
enum class Sensitivity : int { Test = 0, Always = 1, Never = 2, NoFocus = 3, Fullscreen = 4 };

// Everything about a window that a window system shows.
struct WindowState {
  IntRect rect;             // of a child: in its parent; of a top-level window: its size
  bool fillsParent = true;  // a child that was never placed covers its parent, whatever its size
  int zOrder = 0;           // higher is nearer to the viewer; equal ones in order of creation
  bool visible = true;
  int globalAlpha = 255;  // 0 to 255
  Sensitivity sensitivity = Sensitivity::Test;
  int transparency = 0;  // kept: the toolkit blends by the pixels' own alpha
  int orientation = 0;   // degrees; kept: a desktop window does not turn
  // Parts, from the window's corner, that are not painted and take no input: what lies below shows.
  std::vector<IntRect> discardRects;
};

// One window of a window system. Destroying it takes it off the screen.
class WindowSurface {
 public:
  virtual ~WindowSurface() = default;
  virtual void update(const WindowState& state) = 0;
  // As update, for a rectangle that was asked for. Where others move the window as well, and tell
  // later, it counts even if it seems to be the one that the window has.
  virtual void place(const WindowState& state) { update(state); }
  virtual bool isMovedByOthers() const { return false; }
  virtual IntSize size() const = 0;
  // Fills the whole surface; shown by the next post.
  virtual void clear(Color color) = 0;
  virtual void post(const IntRect& area) = 0;
  // Asks for the keyboard; the window manager may refuse.
  virtual void requestKeyboardFocus() = 0;
  // Of a top-level window: asks the window manager to show it so. Without one it is as large as
  // the screen, or as it was before. Nothing can be asked to be covered.
  virtual void showAs(ShownAs wanted) { static_cast<void>(wanted); }
  // Of a top-level window, for good: its size is not the program's any more.
  virtual void fillScreen(ScreenFilling filling) { static_cast<void>(filling); }
};

class WindowSystem {
 public:
  virtual ~WindowSystem() = default;

  // The one in use. There is always one: until another is installed it keeps windows in memory
  // and shows nothing.
  static WindowSystem& current();
  static void install(std::unique_ptr<WindowSystem> system);

  // A top-level window where the parent is null. The window outlives its surface. Null when the
  // system has no room for it.
  virtual std::unique_ptr<WindowSurface> createSurface(Window& window, WindowSurface* parent) = 0;
  // Hands everything drawn so far to the display; with wait, returns when the display has it.
  virtual void flush(bool wait) = 0;
  virtual FrameClock& frameClock() = 0;
};

}  // namespace Tessel::Platform::Graphics
