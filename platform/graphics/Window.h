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

// Receives changes that the user makes to a top-level window.
class WindowListener {
 public:
  virtual ~WindowListener() = default;
  virtual void windowResized(IntSize size) = 0;
  virtual void windowCloseRequested() = 0;
  // By the program itself.
  virtual void windowEndRequested() { windowCloseRequested(); }
  // Active: the window has the keyboard focus.
  virtual void windowActiveChanged(bool active) { static_cast<void>(active); }
  virtual void windowShownAsChanged(ShownAs shownAs) { static_cast<void>(shownAs); }
};

class Window : public GuardedPointerBase {
 public:
  // A child needs a parent, or the group name of one; an application window without a group name
  // gets a group of its own. A child with an empty rectangle covers its parent until it is placed.
  // Usage and flag are stored for window systems that allocate buffers by them.
  Window(WindowType type, Window* parent, const IntRect& windowRect, const IntRect& viewportRect,
         IntSize size, int usage, bool flag, const String& group);
  // A proxy, in a top-level window of this process, for a child window of another process. It has
  // that window's identifier and handle; the handle must not be in use in this process.
  Window(Window& topLevel, int handle, int pid, WindowState state);
  ~Window() override;

  // Sets the upper bits of the handles of all windows created from now on, so that handles are
  // unique across processes. Group 0 is the application itself, which assigns a number to each
  // child process. False, without effect, for a group that is out of range. Call it before the
  // first window is created.
  static bool setHandleBase(unsigned groupId);
  // Handles are positive ints; each process may allocate a million.
  static constexpr unsigned lastHandleGroup = 2047;
  // Whether a handle belongs to the process of that group.
  static bool isHandleOf(unsigned groupId, int handle);

  // Called when a window joins or leaves this window's group.
  virtual void addChildWindow(Window* child) { static_cast<void>(child); }
  virtual void removeChildWindow(Window* child) { static_cast<void>(child); }

  // The top-level window of a group; null if there is none.
  static Window* topLevelOf(const String& group);
  // Null if no window has that handle.
  static Window* fromPlatformHandle(int handle);

  const String& windowGroup() const { return group_; }
  // Unique among the windows of all processes of the program.
  const String& identifier() const { return identifier_; }
  // Never reused within a process, and unique among the processes of the program that have called
  // setHandleBase. 0 for a window created after the process has exhausted its handles (a million);
  // such a window has no buffer.
  int platformHandle() const { return handle_; }
  // False if the window system could not create the window; all other operations are then no-ops.
  bool hasBuffer() const { return surface_ != nullptr; }
  WindowSurface* surface() const { return surface_.get(); }
  IntSize surfaceSize() const { return surface_ ? surface_->size() : IntSize(); }
  const WindowState& state() const { return state_; }

  // The current position and size, no matter whether set by the program, an animation, the window
  // system, or the process that displays the window. The only copy of this state.
  IntRect windowRectangle() const;
  void setWindowRectangle(const IntRect& rect);
  // For the window system, which has already moved the window.
  void windowPlaced(const IntRect& rect, bool fillsParent);
  // The visible part of the surface; only stored: surfaces are as large as their windows here.
  void setViewportRectangle(const IntRect& rect) { viewportRect_ = rect; }
  // The top left corner in the parent; {0, 0} for a window that covers its parent by itself.
  IntPoint windowLocation() const;
  // Moves the window and keeps its size; a window that covered its parent keeps the parent's
  // current size. Coordinates are clamped to farthestPlace, which is off screen in any case.
  void setWindowLocation(IntPoint location);
  static constexpr int farthestPlace = 1 << 20;
  // Areas, relative to the window's corner, that are neither painted nor receive input. Empty for
  // none.
  void setDiscardRects(std::vector<IntRect> rects);
  void setZOrder(int zOrder);
  void setVisible(bool visible);
  // Of a child; a later rectangle makes Placed of Filling.
  void setFullScreen(FullScreen fullScreen);
  void setGlobalAlpha(int alpha);  // clamped to 0 to 255
  void setSensitivity(Sensitivity sensitivity);
  void setTransparency(int type);
  void setOrientation(int degrees);
  void post(const IntRect& area);

  // Not owned; null removes it.
  void setListener(WindowListener* listener) { listener_ = listener; }
  // For the window system.
  WindowListener* listener() const { return listener_; }

 private:
  template <typename Value>
  void change(Value WindowState::*field, Value value);

  const int handle_;
  const String identifier_;
  Window* topLevel_;  // this for a top-level window; null if there is none or it was destroyed
  const String group_;
  WindowState state_;
  IntRect viewportRect_;
  WindowListener* listener_ = nullptr;
  std::unique_ptr<WindowSurface> surface_;
};

// Fills a window's buffer; visible after the next post.
void clearBuffer(Window& window, Color color);

// Gives a window's group the keyboard focus (1) or does nothing (0). False with errno set if the
// handle is unknown (EINVAL) or the window is not on a screen (ENODEV).
bool setGroupKeyboardFocus(int platformHandle, int value);

}  // namespace Tessel::Platform::Graphics
