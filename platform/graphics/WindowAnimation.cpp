// Animations of window position and alpha, one step per frame. UI thread.
#include "platform/graphics/WindowAnimation.h"

#include "platform/base/ListenerList.h"
#include "platform/graphics/Window.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace Tessel::Platform::Graphics {

namespace {

// Control points of a cubic Bézier curve from (0, 0) to (1, 1): x is time, y progress.
struct Bezier {
  double x1;
  double y1;
  double x2;
  double y2;

  static double at(double t, double first, double second) {
    const double rest = 1 - t;
    return 3 * rest * rest * t * first + 3 * rest * t * t * second + t * t * t;
  }
};

constexpr std::array<Bezier, 3> curves{{
    {0, 0, 1, 1},     // Linear
    {0.42, 0, 1, 1},  // EaseInCurve
    {0, 0, 0.58, 1},  // EaseOutCurve
}};

int between(int from, int to, double value) {
  const double distance = static_cast<double>(to) - from;
  return static_cast<int>(std::lround(from + distance * value));
}

AnimationTiming sound(const AnimationTiming& timing) {
  const double wished = timing.duration.count();
  const double longest = AnimationTiming::longest.count();
  return {timing.curve, AnimationTiming::Duration(wished > 0 ? std::min(wished, longest) : 0)};
}

}  // namespace

double valueOfCurve(AnimationCurve curve, double time) {
  if (time <= 0) return 0;
  if (time >= 1) return 1;
  if (curve == AnimationCurve::Linear) return time;
  const Bezier& bezier = curves.at(static_cast<std::size_t>(curve));
  // x is monotonic: solved by bisection. 40 steps are exact for any screen size, and cheap compared
  // to painting a window.
  double low = 0;
  double high = 1;
  for (int i = 0; i < 40; ++i) {
    const double middle = (low + high) / 2;
    (Bezier::at(middle, bezier.x1, bezier.x2) < time ? low : high) = middle;
  }
  return Bezier::at(low, bezier.y1, bezier.y2);
}

// The running animations; the clock runs while there are any.
class WindowAnimation::Timeline final : public FrameListener {
 public:
  static Timeline& instance() {
    static auto* timeline = new Timeline;
    return *timeline;
  }

  void add(WindowAnimation* animation) {
    running_.add(animation);
    if (++count_ == 1) WindowSystem::current().frameClock().start(*this);
  }
  void remove(WindowAnimation* animation) {
    running_.remove(animation);
    if (--count_ == 0) WindowSystem::current().frameClock().stop();
  }
  template <typename Visit>
  void forEach(Visit visit) {
    running_.forEach(visit);
  }

 private:
  void frame(std::chrono::microseconds time) override {
    running_.forEach([time](WindowAnimation& animation) { animation.frame(time); });
  }

  ListenerList<WindowAnimation> running_;
  std::size_t count_ = 0;
};

WindowAnimation::WindowAnimation(Window* window, const WindowChange& change,
                                 const AnimationTiming& timing, Finished finished)
    : window_(window), change_(change), timing_(sound(timing)), finished_(std::move(finished)) {}

WindowAnimation::~WindowAnimation() {
  if (runs_) Timeline::instance().remove(this);
}

void WindowAnimation::start() {
  Timeline::instance().forEach([this](WindowAnimation& other) {
    if (other.changesTheSame(*this)) other.window_ = nullptr;
  });
  runs_ = true;
  Timeline::instance().add(this);
  show(0);
}

bool WindowAnimation::changesTheSame(const WindowAnimation& other) const {
  return window_ && window_.get() == other.window_.get() &&
         change_.index() == other.change_.index();
}

void WindowAnimation::show(double value) const {
  Window* const window = window_.get();
  if (!window) return;
  if (const auto* place = std::get_if<LocationChange>(&change_)) {
    window->setWindowLocation(
        {between(place->from.x, place->to.x, value), between(place->from.y, place->to.y, value)});
  } else if (const auto* alpha = std::get_if<GlobalAlphaChange>(&change_)) {
    window->setGlobalAlpha(between(alpha->from, alpha->to, value));
  }
}

void WindowAnimation::frame(std::chrono::microseconds time) {
  if (!window_) return finish();
  if (!began_) began_ = time;
  const AnimationTiming::Duration passed = time - *began_;
  if (passed >= timing_.duration) {
    show(1);
    finish();
  } else {
    show(valueOfCurve(timing_.curve, passed / timing_.duration));
  }
}

// Must be last: the callback may destroy this.
void WindowAnimation::finish() {
  runs_ = false;
  Timeline::instance().remove(this);
  if (const Finished finished = std::exchange(finished_, nullptr)) finished();
}

WindowAnimationGroup::WindowAnimationGroup(const AnimationTiming& timing, Finished finished)
    : timing_(timing), finished_(std::move(finished)) {}

void WindowAnimationGroup::add(Window* window, const WindowChange& change, Finished finished) {
  auto both = [this, report = std::move(finished)] {
    if (report) report();
    memberFinished();
  };
  members_.push_back(std::make_unique<WindowAnimation>(window, change, timing_, std::move(both)));
}

void WindowAnimationGroup::start() {
  // One extra, so that the group cannot finish before all have been started.
  running_ = members_.size() + 1;
  for (const auto& member : members_) member->start();
  memberFinished();
}

void WindowAnimationGroup::memberFinished() {
  if (--running_ > 0) return;
  if (const Finished finished = std::exchange(finished_, nullptr)) finished();
}

}  // namespace Tessel::Platform::Graphics
