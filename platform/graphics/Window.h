// Windows, their groups and their registry of handles. UI thread.
//
// A group is one top-level window with all its children; the chrome names groups by text and
// windows by handle.
#pragma once

#include "platform/base/Geometry.h"
#include "platform/base/String.h"
#include "platform/graphics/WindowSystem.h"
#include "platform/loop/GuardedPointer.h"

#include <memory>
#include <vector>

namespace Tessel::Platform::Graphics {

enum class WindowType : int { Application = 1, Child = 2 };

// Told what the person at the screen does to a top-level window.
class WindowListener {
 public:
  virtual ~WindowListener() = default;
  virtual void windowResized(IntSize size) = 0;
  virtual void windowCloseRequested() = 0;
  // Whether it has the keyboard.
  virtual void windowActiveChanged(bool active) { static_cast<void>(active); }
  virtual void windowShownAsChanged(ShownAs shownAs) { static_cast<void>(shownAs); }
};

class Window : public GuardedPointerBase {
 public:
  // A child needs a parent, or the group name of one; an application window without a group name
  // gets a group of its own. A child whose rectangle is empty covers its parent until it is
  // placed. Usage and flag are kept for systems that allocate by them.
  Window(WindowType type, Window* parent, const IntRect& windowRect, const IntRect& viewportRect,
         IntSize size, int usage, bool flag, const String& group);
  // The stand-in, in a top-level window of this process, for a child window that another process
  // made: it has that window's handle, which must name no window here, and its identifier.
  Window(Window& topLevel, int handle, int pid, WindowState state);
  ~Window() override;

  // Windows that this process makes from now on have handles with that group in their upper bits,
  // so that no two processes give out the same one. Group 0 is the application itself, and it gives
  // each child process a number of its own. False, and
  // nothing changes, for a group that does not fit. Call it before the first window is made.
  static bool setHandleBase(unsigned groupId);
  // Handles are positive ints, and a process may give out a million.
  static constexpr unsigned lastHandleGroup = 2047;
  // Whether a handle was given out by the process of that group.
  static bool isHandleOf(unsigned groupId, int handle);

  // Called when a window joins or leaves this window's group.
  virtual void addChildWindow(Window* child) { static_cast<void>(child); }
  virtual void removeChildWindow(Window* child) { static_cast<void>(child); }

  // The top-level window of a group; null when there is none.
  static Window* topLevelOf(const String& group);
  // Null for numbers that name no living window.
  static Window* fromPlatformHandle(int handle);

  const String& windowGroup() const { return group_; }
  // Text that names this window among all windows of all processes of the program.
  const String& identifier() const { return identifier_; }
  // Never reused in a process, and different in every process of the program that has called
  // setHandleBase. 0 for a window made after the process has used up its handles (a million); it
  // has no buffer.
  int platformHandle() const { return handle_; }
  // False when the window system had no room for the window; everything else then does nothing.
  bool hasBuffer() const { return surface_ != nullptr; }
  WindowSurface* surface() const { return surface_.get(); }
  IntSize surfaceSize() const { return surface_ ? surface_->size() : IntSize(); }
  const WindowState& state() const { return state_; }

  // Where the window is, whoever has put it there: the program, an animation, the window system, or
  // the process that shows it. Nobody else keeps a copy to compare with.
  IntRect windowRectangle() const;
  void setWindowRectangle(const IntRect& rect);
  // For the window system: the window is there already.
  void windowPlaced(const IntRect& rect, bool fillsParent);
  // The part of the surface that is shown; kept, surfaces here are as large as their windows.
  void setViewportRectangle(const IntRect& rect) { viewportRect_ = rect; }
  // The corner, in the parent; {0, 0} for a window that covers its parent.
  IntPoint windowLocation() const;
  // Moves the window and keeps its size, which for one that covered its parent is the parent's from
  // now on. What is farther off than farthestPlace is brought nearer: nobody sees it there either.
  void setWindowLocation(IntPoint location);
  static constexpr int farthestPlace = 1 << 20;
  // Parts, from the window's corner, that are not painted and take no input. Empty for none.
  void setDiscardRects(std::vector<IntRect> rects);
  void setZOrder(int zOrder);
  void setVisible(bool visible);
  void setGlobalAlpha(int alpha);  // 0 to 255; what lies outside is brought to the nearer end
  void setSensitivity(Sensitivity sensitivity);
  void setTransparency(int type);
  void setOrientation(int degrees);
  void post(const IntRect& area);

  // Not owned; null takes it away.
  void setListener(WindowListener* listener) { listener_ = listener; }
  // For the window system.
  WindowListener* listener() const { return listener_; }

 private:
  template <typename Value>
  void change(Value WindowState::*field, Value value);

  const int handle_;
  const String identifier_;
  Window* topLevel_;  // itself for a top-level window; null when there is none, or none any more
  const String group_;
  WindowState state_;
  IntRect viewportRect_;
  WindowListener* listener_ = nullptr;
  std::unique_ptr<WindowSurface> surface_;
};

// Fills a window's buffer; shown by the next post.
void clearBuffer(Window& window, Color color);

// Gives a window's group the keyboard (1) or leaves it where it is (0). False with errno set when
// the handle names no window (EINVAL) or the window is not on a screen (ENODEV).
bool setGroupKeyboardFocus(int platformHandle, int value);

}  // namespace Tessel::Platform::Graphics
