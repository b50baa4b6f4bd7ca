// Windows that move or fade by themselves, a step per frame of the window system. UI thread.
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

// The numbers are fixed. The ease curves are those of style sheets' ease-in and ease-out, so that a
// page can move along with a window.
enum class AnimationCurve : int { Linear = 0, EaseInCurve = 1, EaseOutCurve = 2 };

// How far an animation has come, 0 to 1, at a part of its time, 0 to 1.
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

// One change of one window. It begins with the first frame after its start, shows its end exactly,
// and is finished once. It is finished early when the window goes, and when another animation of
// the same kind takes the window over: then the window stays where that one wants it. Destroyed
// before, it stops where it is and reports nothing.
class WindowAnimation {
 public:
  using Finished = std::function<void()>;

  // The window may be null, or gone at any time. A duration that is no time or negative is 0, one
  // that is too long the longest. What is called at the end may destroy the animation.
  WindowAnimation(Window* window, const WindowChange& change, const AnimationTiming& timing,
                  Finished finished);
  ~WindowAnimation();
  WindowAnimation(const WindowAnimation&) = delete;
  WindowAnimation& operator=(const WindowAnimation&) = delete;

  // Shows the beginning at once. Only once; it never finishes within this call.
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

// Animations that share curve and duration and start together.
class WindowAnimationGroup {
 public:
  using Finished = WindowAnimation::Finished;

  // Finished when the last of its animations is, after that one has reported. What is called may
  // destroy the group.
  WindowAnimationGroup(const AnimationTiming& timing, Finished finished);

  // Before the start.
  void add(Window* window, const WindowChange& change, Finished finished);
  // Only once. A group without animations is finished at once.
  void start();

 private:
  void memberFinished();

  const AnimationTiming timing_;
  Finished finished_;
  std::vector<std::unique_ptr<WindowAnimation>> members_;
  std::size_t running_ = 0;
};

}  // namespace Tessel::Platform::Graphics
