// Animations of windows, with frames triggered by the test.
#include "platform/graphics/MemoryWindowSystem.h"
#include "platform/graphics/Window.h"
#include "platform/graphics/WindowAnimation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace Tessel::Platform::Graphics {
namespace {

using std::chrono::milliseconds;

class WindowAnimationTest : public testing::Test {
 protected:
  WindowAnimationTest() {
    auto system = std::make_unique<MemoryWindowSystem>();
    system_ = system.get();
    WindowSystem::install(std::move(system));
    top_ = window(WindowType::Application, nullptr);
    child_ = window(WindowType::Child, top_.get());
  }

  static std::unique_ptr<Window> window(WindowType type, Window* parent,
                                        IntRect rect = {0, 0, 80, 60}) {
    return std::make_unique<Window>(type, parent, rect, IntRect(), IntSize(), 0, false, String());
  }

  static AnimationTiming timing(double duration, AnimationCurve curve = AnimationCurve::Linear) {
    return {curve, AnimationTiming::Duration(duration)};
  }
  std::unique_ptr<WindowAnimation> animation(const WindowChange& change,
                                             const AnimationTiming& timing,
                                             const char* name = "done") {
    return std::make_unique<WindowAnimation>(child_.get(), change, timing,
                                             [this, name] { finished_.emplace_back(name); });
  }

  MemoryFrameClock& clock() { return system_->frameClock(); }
  // Runs a frame at that time after the first one; returns the child's position.
  IntPoint frame(int time) {
    clock().frame(milliseconds(1000 + time));
    return child_ ? child_->windowLocation() : IntPoint();
  }

  MemoryWindowSystem* system_ = nullptr;
  std::unique_ptr<Window> top_;
  std::unique_ptr<Window> child_;
  std::vector<std::string> finished_;
};

TEST_F(WindowAnimationTest, CurvesAreThoseOfStyleSheets) {
  using enum AnimationCurve;
  for (const AnimationCurve curve : {Linear, EaseInCurve, EaseOutCurve}) {
    EXPECT_EQ(valueOfCurve(curve, -1), 0);
    EXPECT_EQ(valueOfCurve(curve, 2), 1);
  }
  EXPECT_EQ(valueOfCurve(Linear, 0.3), 0.3);
  // cubic-bezier(0.42, 0, 1, 1) in the middle of its time, and the other is its mirror image.
  EXPECT_NEAR(valueOfCurve(EaseInCurve, 0.5), 0.3154, 0.0001);
  EXPECT_NEAR(valueOfCurve(EaseOutCurve, 0.5), 0.6846, 0.0001);
  EXPECT_NEAR(valueOfCurve(EaseInCurve, 0.2) + valueOfCurve(EaseOutCurve, 0.8), 1, 1e-9);
}

TEST_F(WindowAnimationTest, AWindowIsWhereTheCurveIsAtEachFrameAndEndsOnItsTarget) {
  const AnimationCurve curve = AnimationCurve::EaseInCurve;
  const auto moves = animation(LocationChange{{10, 500}, {1010, -100}}, timing(100, curve));
  moves->start();
  EXPECT_EQ(child_->windowLocation(), (IntPoint{10, 500})) << "before the first frame";
  EXPECT_EQ(frame(0), (IntPoint{10, 500})) << "time begins with it";
  for (int time = 7; time < 100; time += 7) {
    const double value = valueOfCurve(curve, time / 100.0);
    EXPECT_EQ(frame(time), (IntPoint{static_cast<int>(std::lround(10 + 1000 * value)),
                                     static_cast<int>(std::lround(500 - 600 * value))}));
  }
  EXPECT_TRUE(finished_.empty());
  EXPECT_EQ(frame(117), (IntPoint{1010, -100})) << "exactly, whenever the last frame comes";
  EXPECT_EQ(finished_.size(), 1u);
  EXPECT_FALSE(clock().isRunning()) << "nobody needs frames any more";
  EXPECT_EQ(child_->state().rect, (IntRect{1010, -100, 80, 60})) << "the size is kept";
}

TEST_F(WindowAnimationTest, EveryDurationComesToAnEnd) {
  for (const double duration : {0.0, -5.0, std::nan(""), -HUGE_VAL}) {
    const auto moves = animation(LocationChange{{0, 0}, {7, 7}}, timing(duration));
    moves->start();
    EXPECT_TRUE(finished_.empty()) << "never within the start";
    EXPECT_EQ(frame(0), (IntPoint{7, 7})) << duration;
    EXPECT_EQ(finished_.size(), 1u) << duration;
    finished_.clear();
  }
  const auto slow = animation(LocationChange{{0, 0}, {7, 7}}, timing(HUGE_VAL));
  slow->start();
  frame(0);
  frame(3599999);
  EXPECT_TRUE(finished_.empty());
  frame(3600000);
  EXPECT_EQ(finished_.size(), 1u);

  constexpr int least = std::numeric_limits<int>::min();
  constexpr int most = std::numeric_limits<int>::max();
  const auto far = animation(LocationChange{{least, most}, {most, least}}, timing(2));
  far->start();
  frame(0);
  frame(1);
  EXPECT_EQ(frame(2), (IntPoint{Window::farthestPlace, -Window::farthestPlace}));
}

TEST_F(WindowAnimationTest, OneThatLosesItsWindowIsFinishedEarlyAndOnce) {
  const auto first = animation(LocationChange{{0, 0}, {100, 0}}, timing(100), "first");
  const auto fades = animation(GlobalAlphaChange{255, 0}, timing(100), "fades");
  first->start();
  fades->start();
  frame(0);
  frame(50);
  const auto second = animation(LocationChange{{50, 0}, {0, 0}}, timing(100), "second");
  second->start();
  EXPECT_EQ(frame(60), (IntPoint{50, 0})) << "the later one has it";
  EXPECT_EQ(finished_, std::vector<std::string>{"first"});
  EXPECT_EQ(frame(100).x, 30);
  EXPECT_EQ(finished_, (std::vector<std::string>{"first", "fades"})) << "another kind goes on";
  child_.reset();
  frame(110);
  frame(1000);
  EXPECT_EQ(finished_, (std::vector<std::string>{"first", "fades", "second"}));
  EXPECT_FALSE(clock().isRunning());

  const auto never = animation(GlobalAlphaChange{0, 1}, timing(100), "nobody's");
  never->start();
  frame(2000);
  EXPECT_EQ(finished_.back(), "nobody's") << "a window that never was";
}

TEST_F(WindowAnimationTest, GroupsStartTogetherAndMembersReportBeforeThem) {
  const auto other = window(WindowType::Child, top_.get());
  // The callback at the end of a group may delete its object, which is not accessed afterwards.
  std::unique_ptr<WindowAnimationGroup> owner;
  owner = std::make_unique<WindowAnimationGroup>(timing(100), [&] {
    finished_.emplace_back("group");
    owner.reset();
  });
  owner->add(child_.get(), LocationChange{{0, 0}, {100, 0}}, [&] { finished_.emplace_back("a"); });
  owner->add(other.get(), LocationChange{{0, 0}, {0, 100}}, [&] { finished_.emplace_back("b"); });
  owner->start();
  frame(0);
  EXPECT_EQ(frame(50), (IntPoint{50, 0}));
  EXPECT_EQ(other->windowLocation(), (IntPoint{0, 50}));
  frame(100);
  EXPECT_EQ(finished_, (std::vector<std::string>{"a", "b", "group"}));
  EXPECT_FALSE(owner);

  bool ended = false;
  WindowAnimationGroup empty(timing(100), [&] { ended = true; });
  empty.start();
  EXPECT_TRUE(ended);
}

TEST_F(WindowAnimationTest, WhatIsCalledAtTheEndMayStartAndDestroyOthers) {
  const auto other = window(WindowType::Child, top_.get());
  std::unique_ptr<WindowAnimation> next;
  std::unique_ptr<WindowAnimation> doomed;
  WindowAnimation first(child_.get(), LocationChange{{0, 0}, {10, 0}}, timing(10), [&] {
    doomed.reset();
    next = animation(LocationChange{{10, 0}, {0, 0}}, timing(10), "next");
    next->start();
  });
  doomed = std::make_unique<WindowAnimation>(other.get(), GlobalAlphaChange{0, 255}, timing(100),
                                             [&] { finished_.emplace_back("doomed"); });
  first.start();
  doomed->start();
  frame(0);
  EXPECT_EQ(frame(10), (IntPoint{10, 0}));
  const int alpha = other->state().globalAlpha;
  frame(20);
  EXPECT_EQ(frame(30), (IntPoint{0, 0}));
  EXPECT_EQ(finished_, std::vector<std::string>{"next"});
  EXPECT_EQ(other->state().globalAlpha, alpha) << "destroyed, it stops where it is";
}

}  // namespace
}  // namespace Tessel::Platform::Graphics
