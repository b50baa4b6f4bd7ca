// Pages on a display whose pixels are smaller than those of style sheets, and on the whole of it.
#include "tests/support/SuiteTest.h"
#include "tests/support/Waiting.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using test_support::clickAt;
using test_support::perform;
using test_support::Pixel;
using test_support::pixelsIn;
using test_support::Program;
using test_support::waitForPixel;

class ScaleTest : public test_support::SuiteTest {
 protected:
  Program::Environment scaled(const std::string& factor) const {
    return environment("scale.html", {{"GDK_SCALE", factor}, {"WIDTH", "320"}, {"HEIGHT", "200"}});
  }
};

// In pixels of the display, as scale.html places them.
constexpr int left = 20;
constexpr int right = 320;
constexpr int top = 40;

TEST_F(ScaleTest, PagesOfEitherProcessAreTheSameToThePixelAndAreClickedWhereTheyAre) {
  Program program(scaled("2"));
  ASSERT_TRUE(program.waitForLine("ready")) << program.errors();
  constexpr Pixel black{0, 0, 0};
  constexpr Pixel white{255, 255, 255};
  for (const int view : {left, right}) {
    ASSERT_TRUE(waitForPixel(view + 100, top + 10, black)) << program.errors();
    EXPECT_TRUE(waitForPixel(view + 101, top + 10, white)) << "lines are not as wide as a pixel";
  }
  // Its first line of text.
  constexpr unsigned int width = 280;
  const auto here = pixelsIn(left, top, width, 130);
  const auto there = pixelsIn(right, top, width, 130);
  for (std::size_t i = 0; i < here.size(); ++i) {
    ASSERT_EQ(here[i], there[i]) << i % width << "," << i / width;
  }
  EXPECT_GT(std::count_if(here.begin() + width * 80, here.end(),
                          [&](const Pixel& pixel) { return pixel != white; }),
            500)
      << "there is no text";
  clickAt(left + 60, top + 40);
  EXPECT_TRUE(program.waitForLine("clicked 0 2 140 30 20")) << program.errors();
  clickAt(right + 60, top + 40);
  EXPECT_TRUE(program.waitForLine("clicked 1 2 140 30 20")) << program.errors();
}

TEST_F(ScaleTest, AnElementInFullScreenFillsTheScreenInEitherProcess) {
  constexpr Pixel green{0, 200, 0};
  constexpr Pixel chrome{0, 0, 200};
  Program program(scaled("1"));
  ASSERT_TRUE(program.waitForLine("ready")) << program.errors();
  for (const int place : {80, 230}) {
    clickAt(place, 100);
    ASSERT_TRUE(program.waitForLine("clicked ")) << program.errors();
    test_support::giveKeyboardTo(test_support::topLevelWindow("pagehost"));
    perform("key f");
    EXPECT_TRUE(waitForPixel(5, 60, green)) << program.errors();
    // No window manager runs: outside the window there would be the root window.
    EXPECT_TRUE(waitForPixel(1000, 700, green));
    perform("key x");
    EXPECT_TRUE(waitForPixel(5, 60, chrome)) << "it is where it was again";
    EXPECT_TRUE(waitForPixel(1000, 700, {0, 0, 0}));
  }
}

}  // namespace
