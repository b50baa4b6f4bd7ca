// The windowTouchTracking.* functions: groups of windows that follow a finger or the mouse along an
// axis, or fade with it, within limits. UI thread, but for what says otherwise.
#pragma once

#include "platform/graphics/ScreenEvents.h"
#include "platform/graphics/Window.h"
#include "platform/loop/GuardedPointer.h"

#include <memory>
#include <optional>
#include <vector>

class BindingManager;
class WebView;

void registerTouchTracking(BindingManager& bindings);

// How a group follows along one axis.
struct TrackedAxis {
  bool moves = false;
  bool fades = false;
  int start = 0;  // where the finger was when the windows were at their places
  int minimum = 0;
  int maximum = 0;
  int currentDelta = 0;

  // How far the finger is from the start, within the limits; the minimum wins.
  void follow(int place);
  // The part of a range that the delta is at; 0 without limits to be between.
  int alpha(int base, int range) const;
};

class WindowTouchTrackingGroup {
 public:
  using Window = Tessel::Platform::Graphics::Window;
  using IntPoint = Tessel::Platform::IntPoint;

  explicit WindowTouchTrackingGroup(unsigned int id) : id_(id) {}
  virtual ~WindowTouchTrackingGroup() = default;

  unsigned int id() const { return id_; }
  void add(Window* window) { windows_.push_back({window, std::nullopt}); }
  // Keeps where the windows are now: that is where they move from.
  void captureInitialPositions();
  void setAlpha(int base, int range) {
    alphaBase_ = base;
    alphaRange_ = range;
  }
  // Moves and fades the windows that are still there.
  void follow(IntPoint point);

  TrackedAxis x;
  TrackedAxis y;

 private:
  struct Member {
    Tessel::Platform::GuardedPointer<Window> window;
    std::optional<IntPoint> initial;
  };

  std::optional<int> alpha() const;

  const unsigned int id_;
  std::vector<Member> windows_;
  int alphaBase_ = 0;
  int alphaRange_ = 0;
};

// All groups, and the listener for screen events.
class WindowTouchTrackingManager final : public Tessel::Platform::Graphics::ScreenWindowListener {
 public:
  using IntPoint = Tessel::Platform::IntPoint;

  // Made on first use, for the root web view of that moment; never destroyed.
  static WindowTouchTrackingManager& instance();
  ~WindowTouchTrackingManager() override;

  WindowTouchTrackingGroup& createGroup();
  void destroyGroup(unsigned long id);
  // Null when there is none.
  WindowTouchTrackingGroup* group(unsigned long id) const;

  void updatePositions(IntPoint point);
  void release();

  // These two on any thread.
  void touchEvent(const Tessel::Platform::Graphics::RawTouchEvent& event) override;
  void mouseEvent(const Tessel::Platform::Graphics::RawMouseEvent& event) override;

 private:
  explicit WindowTouchTrackingManager(WebView* root);

  // For the user-interface thread, in this order.
  void sendPosition(IntPoint point);
  void sendRelease();

  std::vector<std::unique_ptr<WindowTouchTrackingGroup>> groups_;
  unsigned int nextId_ = 0;
  Tessel::Platform::GuardedPointer<WebView> root_;
};
