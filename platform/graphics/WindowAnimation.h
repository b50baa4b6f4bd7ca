// Animations of window position and alpha, one step per frame. UI thread.
#pragma once

#include "platform/base/Geometry.h"
#include "platform/loop/GuardedPointer.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

namespace Tessel::Platform::Graphics {

class Window;

// The numbers are fixed. The ease curves equal CSS ease-in and ease-out, so that a page can animate
// along with a window.
enum class AnimationCurve : int { Linear = 0, EaseInCurve = 1, EaseOutCurve = 2 };

// Progress of an animation (0 to 1) at a fraction of its duration (0 to 1).
double valueOfCurve(AnimationCurve curve, double time);

struct AnimationTiming {
  using Duration = std::chrono::duration<double, std::milli>;
  static constexpr Duration longest = std::chrono::hours(1);

  AnimationCurve curve = AnimationCurve::Linear;
  Duration duration{0};
};

struct LocationChange {
  IntPoint from;
  IntPoint to;
};
struct GlobalAlphaChange {
  int from = 0;
  int to = 0;
};
using WindowChange = std::variant<LocationChange, GlobalAlphaChange>;

// One animation of one window. It begins with the first frame after its start, ends exactly at the
// target, and finishes once. It finishes early if the window is destroyed, or if another animation
// of the same kind takes over the window; then the window stays where the new one starts. If the
// animation is destroyed first, the window stops where it is and nothing is reported.
class WindowAnimation {
 public:
  using Finished = std::function<void()>;

  // The window may be null or destroyed at any time. A negative or invalid duration counts as 0,
  // one that is too long as the maximum. The callback may destroy the animation.
  WindowAnimation(Window* window, const WindowChange& change, const AnimationTiming& timing,
                  Finished finished);
  ~WindowAnimation();
  WindowAnimation(const WindowAnimation&) = delete;
  WindowAnimation& operator=(const WindowAnimation&) = delete;

  // Applies the initial state at once. May be called once; never finishes within this call.
  void start();

 private:
  class Timeline;

  bool changesTheSame(const WindowAnimation& other) const;
  void show(double value) const;
  void frame(std::chrono::microseconds time);
  void finish();

  GuardedPointer<Window> window_;
  const WindowChange change_;
  AnimationTiming timing_;
  Finished finished_;
  bool runs_ = false;
  std::optional<std::chrono::microseconds> began_;
};

// A set of animations with a common curve, duration and start.
class WindowAnimationGroup {
 public:
  using Finished = WindowAnimation::Finished;

  // Finishes when its last animation does, after that one's own report. The callback may destroy
  // the group.
  WindowAnimationGroup(const AnimationTiming& timing, Finished finished);

  // Before start() only.
  void add(Window* window, const WindowChange& change, Finished finished);
  // May be called once. An empty group finishes at once.
  void start();

 private:
  void memberFinished();

  const AnimationTiming timing_;
  Finished finished_;
  std::vector<std::unique_ptr<WindowAnimation>> members_;
  std::size_t running_ = 0;
};

}  // namespace Tessel::Platform::Graphics
