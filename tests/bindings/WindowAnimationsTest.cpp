// Animations and discarded parts of windows as the chrome asks for them.
#include "bindings/WindowAnimations.h"
#include "tests/support/ChromeFixture.h"

namespace {

using Tessel::Platform::IntPoint;
using Tessel::Platform::IntRect;
using Tessel::Platform::IntSize;
using Tessel::Platform::Graphics::MemoryFrameClock;
using Tessel::Platform::Graphics::MemoryWindowSystem;
using Tessel::Platform::Graphics::Window;
using Tessel::Platform::Graphics::WindowSystem;
using Tessel::Platform::Graphics::WindowType;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class WindowAnimationsTest : public test_support::ChromeFixture {
 protected:
  WindowAnimationsTest() {
    WindowAnimations::instance();
    for (auto& window : windows_) {
      window = std::make_unique<Window>(WindowType::Child, nullptr, IntRect{0, 0, 20, 20},
                                        IntRect(), IntSize(), 0, false, group);
    }
  }
  // Lets everything end that a test has left.
  ~WindowAnimationsTest() override {
    frame(10'000'000);
    EXPECT_FALSE(clock().isRunning());
  }

  static MemoryFrameClock& clock() {
    return static_cast<MemoryWindowSystem&>(WindowSystem::current()).frameClock();
  }
  void frame(int time) { clock().frame(std::chrono::milliseconds(base_ + time)); }
  // "0" and "1" in the arguments of animations are the two windows' handles below; "-" is none.
  std::string animate(const char* function, std::vector<std::string> texts) {
    std::vector<std::string> all{std::string("windowAnimations.") + function};
    for (const std::string& text : texts) {
      const bool isWindow = text.starts_with("#");
      all.push_back(isWindow ? handle(static_cast<std::size_t>(text[1] - '0')) : text);
    }
    std::vector<const char*> pointers;
    for (const std::string& text : all) pointers.push_back(text.c_str());
    return callNative(pointers);
  }
  std::string handle(std::size_t index) const {
    return std::to_string(windows_[index]->platformHandle());
  }
  static std::string idAfter(const std::string& id) { return std::to_string(std::stol(id) + 1); }

  std::array<std::unique_ptr<Window>, 2> windows_;
  const long base_ = 1000;
};

TEST_F(WindowAnimationsTest, WhatIsPreparedLastStartsAndReportsItsIdOnce) {
  const std::string dropped =
      animate("animateWindowLocation", {"#0", "Linear", "100", "900", "0", "0", "0"});
  const std::string moved =
      animate("animateWindowLocation", {"#0", "Linear", "100", "-10", "20", "90", "-80"});
  EXPECT_EQ(moved, idAfter(dropped)) << "ids count up, whatever becomes of them";
  frame(0);
  EXPECT_EQ(windows_[0]->windowLocation(), IntPoint()) << "prepared, not started";

  callNative({"windowAnimations.startAnimation"});
  frame(0);
  EXPECT_EQ(windows_[0]->windowLocation(), (IntPoint{-10, 20}));
  // A single one and a group wait beside each other.
  const std::string faded = animate("animateGlobalAlpha", {"#1", "Linear", "50.5", "0", "100"});
  EXPECT_EQ(faded, idAfter(moved));
  const std::string last =
      animate("animateWindowLocationMultiple",
              {"EaseInCurve", "50", "#1", "0", "0", "8", "8", "-", "1", "1", "1", "1"});
  EXPECT_EQ(last, idAfter(faded)) << "a window that is none has no id";
  callNative({"windowAnimations.startAnimation"});
  callNative({"windowAnimations.startAnimation"});
  frame(50);
  EXPECT_EQ(windows_[0]->windowLocation(), (IntPoint{40, -30}));
  EXPECT_THAT(animationEvents(), IsEmpty());
  frame(100);
  EXPECT_EQ(windows_[0]->windowLocation(), (IntPoint{90, -80}));
  EXPECT_EQ(windows_[1]->windowLocation(), (IntPoint{8, 8}));
  EXPECT_EQ(windows_[1]->state().globalAlpha, 99) << "half a millisecond before its end";
  frame(101);
  EXPECT_EQ(windows_[1]->state().globalAlpha, 100);
  EXPECT_THAT(animationEvents(),
              ElementsAre("onWindowAnimationFinished " + moved, "onWindowAnimationFinished " + last,
                          "onWindowAnimationFinished " + faded));
  frame(5000);
  EXPECT_THAT(animationEvents(), IsEmpty());
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(WindowAnimationsTest, MistakesAreReportedAndPrepareNothing) {
  EXPECT_EQ(animate("animateWindowLocation", {"0", "Linear", "1", "0", "0", "1", "1"}), "");
  EXPECT_EQ(animate("animateWindowLocation", {"#0", "Ease", "1", "0", "0", "1", "1"}), "");
  EXPECT_EQ(animate("animateGlobalAlpha", {"#0", "linear", "1", "0", "1"}), "");
  EXPECT_EQ(animate("animateWindowLocationMultiple", {"", "1", "#0", "0", "0", "1", "1"}), "");
  EXPECT_EQ(animate("animateGlobalAlphaMultiple", {"?", "1", "#0", "0", "1"}), "");
  const auto curveError = [](const char* function, const char* text, const char* position) {
    return std::string("Argument error when trying to call native function: \"") + function +
           "\" with argument \"" + text + "\" at position: " + position;
  };
  EXPECT_THAT(errors(), ElementsAre(curveError("jsAnimateWindowLocation", "Ease", "2"),
                                    curveError("jsAnimateGlobalAlpha", "linear", "2"),
                                    curveError("jsAnimateWindowLocationMultiple", "", "1"),
                                    curveError("jsAnimateGlobalAlphaMultiple", "?", "1")));

  animate("animateWindowLocationMultiple", {"Linear", "1", "#0", "0", "0", "1", "1", "2"});
  animate("animateWindowLocationMultiple", {"Linear", "1"});
  animate("animateGlobalAlphaMultiple", {"Linear", "1", "#0", "0"});
  callNative({"window.setDiscardRects", "1", "2", "3"});
  callNative({"window.setDiscardRects"});
  EXPECT_THAT(errors(), ElementsAre(countError("jsAnimateWindowLocationMultiple", 9, 8),
                                    countError("jsAnimateWindowLocationMultiple", 3, 8),
                                    countError("jsAnimateGlobalAlphaMultiple", 5, 6),
                                    countError("jsSetDiscardRects", 4, 2),
                                    countError("jsSetDiscardRects", 1, 2)));
  callNative({"windowAnimations.startAnimation"});
  EXPECT_FALSE(clock().isRunning());
  EXPECT_THAT(animationEvents(), IsEmpty());
}

}  // namespace
