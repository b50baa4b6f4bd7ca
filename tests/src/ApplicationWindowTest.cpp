// The application window. It is made once per process, so every test has a process of its own.
#include "ApplicationWindow.h"
#include "platform/Settings.h"
#include "platform/graphics/Screen.h"
#include "tests/support/ChromeFixture.h"

#include <cstdlib>

namespace {

using Tessel::Platform::IntRect;
using Tessel::Platform::IntSize;
using Tessel::Platform::Settings;
using Tessel::Platform::Graphics::MemoryWindowSystem;
using Tessel::Platform::Graphics::Screen;
using Tessel::Platform::Graphics::WindowSystem;
using test_support::inOwnProcess;
using ::testing::SizeIs;

class ApplicationWindowTest : public test_support::ChromeFixture {
 protected:
  static MemoryWindowSystem::Surface& surface() {
    return test_support::surfaceOf(ApplicationWindow::instance());
  }
  static int flushes() { return static_cast<MemoryWindowSystem&>(WindowSystem::current()).flushes; }
};

TEST_F(ApplicationWindowTest, LaunchGivesSizeAndRotation) {
  struct {
    const char* width;
    const char* height;
    const char* rotation;
    IntSize size;
    int screenRotation;
  } const launches[] = {
      {nullptr, nullptr, nullptr, {640, 480}, 180},  // the defaults of the settings and the screen
      {"1024", "600", nullptr, {1024, 600}, 180},   {"1024", "600", "top_up", {1024, 600}, 0},
      {"1024", "600", "left_up", {600, 1024}, 90},  {"1024", "600", "right_up", {600, 1024}, 270},
      {"1024", "600", "bottom_up", {1024, 600}, 0}, {"1024", "600", "LEFT_UP", {1024, 600}, 0},
      {"1024", nullptr, nullptr, {640, 480}, 180},  {nullptr, "600", "left_up", {640, 480}, 90},
      {"1024", "0", nullptr, {640, 480}, 180},      {"wide", "600", nullptr, {640, 480}, 180},
  };
  for (const auto& launch : launches) {
    inOwnProcess([&] {
      const auto set = [](const char* name, const char* value) {
        value ? ::setenv(name, value, 1) : ::unsetenv(name);
      };
      set("WIDTH", launch.width);
      set("HEIGHT", launch.height);
      set("ROTATION", launch.rotation);
      Settings::instance().setApplicationSize({640, 480});
      Screen::primaryScreen().setRotation(180);
      EXPECT_EQ(ApplicationWindow::instance().surfaceSize(), launch.size);
      EXPECT_EQ(Settings::instance().applicationSize(), launch.size);
      EXPECT_EQ(Screen::primaryScreen().rotation(), launch.screenRotation);
    });
  }
}

TEST_F(ApplicationWindowTest, SetSizeResizesAndTurnsAndStoresTheSizeSidewaysWhenTurned) {
  inOwnProcess([this] {
    ApplicationWindow::instance();
    const auto setSize = [&](const char* rotation) {
      EXPECT_EQ(callNative({"applicationWindow.setSize", "800", "600", rotation}), "");
      EXPECT_EQ(surface().state.rect, (IntRect{0, 0, 800, 600}));
      EXPECT_EQ(surface().posts.back(), (IntRect{0, 0, 800, 600}));
      EXPECT_EQ(surface().state.orientation, std::atoi(rotation));
      return Settings::instance().applicationSize();
    };
    EXPECT_EQ(setSize("0"), (IntSize{800, 600}));
    EXPECT_EQ(setSize("90"), (IntSize{600, 800}));
    EXPECT_EQ(setSize("-90"), (IntSize{600, 800}));

    // What has no area is flushed instead.
    const std::size_t posts = surface().posts.size();
    const int flushed = flushes();
    callNative({"applicationWindow.setSize", "0", "600", "0"});
    EXPECT_THAT(surface().posts, SizeIs(posts));
    EXPECT_EQ(flushes(), flushed + 1);
  });
}

}  // namespace
