// Groups of windows that follow a finger or the mouse, with synthetic events.
#include "bindings/TouchTracking.h"
#include "bindings/WindowAnimations.h"
#include "platform/graphics/Screen.h"
#include "registry/BindingManager.h"
#include "tests/support/ChromeFixture.h"

#include <thread>

namespace {

using Tessel::Platform::executableMessage;
using Tessel::Platform::IntPoint;
using Tessel::Platform::IntRect;
using Tessel::Platform::IntSize;
using Tessel::Platform::Graphics::MemoryWindowSystem;
using Tessel::Platform::Graphics::RawMouseEvent;
using Tessel::Platform::Graphics::RawTouchEvent;
using Tessel::Platform::Graphics::ScreenContext;
using Tessel::Platform::Graphics::TouchPoint;
using Tessel::Platform::Graphics::Window;
using Tessel::Platform::Graphics::WindowSystem;
using Tessel::Platform::Graphics::WindowType;
using test_support::turnLoop;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class TouchTrackingTest : public test_support::ChromeFixture {
 protected:
  TouchTrackingTest() {
    WindowAnimations::instance();
    for (auto& window : windows_) {
      window = std::make_unique<Window>(WindowType::Child, nullptr, IntRect{100, 200, 20, 20},
                                        IntRect(), IntSize(), 0, false, group);
    }
    const std::string first = std::to_string(windows_[0]->platformHandle());
    const std::string second = std::to_string(windows_[1]->platformHandle());
    id_ = callNative(
        {"windowTouchTracking.createWindowTouchTrackingGroup", first.c_str(), "0", second.c_str()});
  }
  ~TouchTrackingTest() override { call("destroyWindowTouchTrackingGroup", {}); }

  // A function of windowTouchTracking with the group's id before the other arguments.
  std::string call(const std::string& function, std::vector<const char*> arguments) {
    const std::string name = "windowTouchTracking." + function;
    arguments.insert(arguments.begin(), {name.c_str(), id_.c_str()});
    return callNative(arguments);
  }
  std::string delta(const char* axis) {
    return call(std::string("jsGetWindowTouchTrackingGroupCurrentDelta") + axis, {});
  }
  static void touch(RawTouchEvent::Type type, std::vector<TouchPoint> points) {
    ScreenContext::sharedContext().tell(RawTouchEvent{type, std::move(points)});
  }
  // The windows' position after that finger has moved there.
  IntPoint follow(int x, int y) {
    touch(RawTouchEvent::Move, {{0, {x, y}}});
    turnLoop();
    return windows_[0] ? windows_[0]->windowLocation() : IntPoint();
  }
  static int flushes() { return static_cast<MemoryWindowSystem&>(WindowSystem::current()).flushes; }

  std::array<std::unique_ptr<Window>, 2> windows_;
  std::string id_;
};

TEST_F(TouchTrackingTest, WindowsFollowWithinTheLimitsFromWhereTheyWere) {
  EXPECT_EQ(follow(500, 500), (IntPoint{100, 200})) << "nothing is tracked yet";
  call("setWindowGroupTrackX", {"true", "-50", "200", "100"});
  EXPECT_EQ(follow(400, 999), (IntPoint{300, 200}));
  EXPECT_EQ(delta("X") + " " + delta("Y"), "200 0");
  EXPECT_EQ(follow(0, 0), (IntPoint{50, 200}));
  EXPECT_EQ(windows_[1]->windowLocation(), (IntPoint{50, 200}));
  EXPECT_EQ(windows_[0]->state().globalAlpha, 255);

  // The other axis starts at the current position of the windows.
  call("setWindowGroupTrackY", {"", "0", "10", "300"});
  EXPECT_EQ(follow(100, 305), (IntPoint{50, 205})) << "the empty text is not null";
  call("setWindowGroupTrackX", {nullptr, "1", "2", "3"});
  EXPECT_EQ(follow(500, 303), (IntPoint{50, 203})) << "off, and nothing else was taken over";
  EXPECT_EQ(delta("X"), "200");
  call("setWindowGroupTrackY", {nullptr, "", "", ""});
  EXPECT_EQ(follow(0, 0), (IntPoint{50, 203}));
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(TouchTrackingTest, TheMinimumWinsAndExtremesAreHarmless) {
  call("setWindowGroupTrackX", {"1", "70", "20", "0"});
  EXPECT_EQ(follow(50, 0).x, 170);
  call("setWindowGroupTrackX", {"1", "-2147483648", "2147483647", "-2147483648"});
  EXPECT_EQ(follow(2147483647, 0).x, Window::farthestPlace);
  EXPECT_EQ(delta("X"), "2147483647");
  call("setWindowGroupTrackXToAlpha",
       {"1", "-2147483648", "2147483647", "-2147483648", "-2147483648", "-2147483648"});
  follow(2147483647, 0);
  EXPECT_EQ(windows_[0]->state().globalAlpha, 0);
}

TEST_F(TouchTrackingTest, WindowsThatGoAndComeLateAreSkipped) {
  call("setWindowGroupTrackX", {"1", "-500", "500", "0"});
  windows_[0].reset();
  follow(40, 0);
  EXPECT_EQ(windows_[1]->windowLocation(), (IntPoint{140, 200}));
  call("setWindowGroupTrackX", {"1", "-500", "500", "0"});
  follow(-40, 0);
  EXPECT_EQ(windows_[1]->windowLocation(), (IntPoint{100, 200})) << "each from its own place";

  const std::string none = callNative(
      {"windowTouchTracking.createWindowTouchTrackingGroup", "999999999", "nothing", nullptr});
  EXPECT_EQ(std::stoul(none), std::stoul(id_) + 1);
  callNative({"windowTouchTracking.setWindowGroupTrackX", none.c_str(), "1", "0", "9", "0"});
  follow(5, 0);
  callNative({"windowTouchTracking.destroyWindowTouchTrackingGroup", none.c_str()});
}

TEST_F(TouchTrackingTest, OnlyTheLastPositionCountsAndTheReleaseComesAfterIt) {
  call("setWindowGroupTrackX", {"1", "0", "500", "0"});
  const int flushed = flushes();
  touch(RawTouchEvent::Touch, {{0, {1, 0}}});
  for (int x = 2; x < 100; ++x) touch(RawTouchEvent::Move, {{1, {400, 400}}, {0, {x, 0}}});
  touch(RawTouchEvent::Release, {{0, {120, 0}}});
  EXPECT_EQ(windows_[0]->windowLocation().x, 100) << "nothing happens within an event";
  std::string deltaAtRelease;
  client.dispatchMessage(executableMessage([&] { deltaAtRelease = delta("X"); }));
  turnLoop();
  EXPECT_EQ(deltaAtRelease, "120");
  EXPECT_EQ(flushes(), flushed + 1);
  EXPECT_THAT(animationEvents(), ElementsAre("onDragTouchRelease"));

  // Without the first finger nothing moves.
  touch(RawTouchEvent::Move, {{1, {300, 0}}});
  turnLoop();
  EXPECT_EQ(delta("X"), "120");
}

TEST_F(TouchTrackingTest, TheMouseIsFollowedUntilItsButtonIsUpOrLost) {
  call("setWindowGroupTrackX", {"1", "-500", "500", "0"});
  const auto placeAfter = [&](RawMouseEvent::Type type, int inWindow, int source) {
    ScreenContext::sharedContext().tell(RawMouseEvent{type, {inWindow, 0}, {source, 0}});
    turnLoop();
    return windows_[0]->windowLocation().x;
  };
  EXPECT_EQ(placeAfter(RawMouseEvent::Press, 10, 0), 110);
  EXPECT_EQ(placeAfter(RawMouseEvent::Move, 0, -30), 70) << "outside of the window, too";
  EXPECT_THAT(animationEvents(), IsEmpty());
  for (const auto end : {RawMouseEvent::Release, RawMouseEvent::Cancel}) {
    EXPECT_EQ(placeAfter(end, 40, 0), 140);
    EXPECT_THAT(animationEvents(), ElementsAre("onDragTouchRelease"));
  }
}

TEST_F(TouchTrackingTest, OtherThreadsHaveTheirCallsRunOnTheMainThread) {
  call("setWindowGroupTrackX", {"1", "0", "500", "0"});
  std::string fromThere;
  std::thread thread([&] {
    touch(RawTouchEvent::Move, {{0, {64, 0}}});
    // The reply confirms that the previous position was applied.
    const std::string name = "windowTouchTracking.jsGetWindowTouchTrackingGroupCurrentDeltaX";
    OrvWebJavaScriptCallbackEvent event({name.c_str(), id_.c_str()});
    BindingManager::instance().dispatch(&event);
    fromThere = event.result().toStdString();
    client.exit(0);
  });
  EXPECT_EQ(test_support::exitStatusOf(client), 0);
  thread.join();
  EXPECT_EQ(fromThere, "64");
  EXPECT_EQ(windows_[0]->windowLocation().x, 164);
}

}  // namespace
