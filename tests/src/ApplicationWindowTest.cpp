// The application window. It is created once per process, so every test runs in a separate process.
#include "platform/os/Settings.h"
#include "src/ApplicationWindow.h"
#include "tests/support/ChromeFixture.h"
#include "tests/support/StandardErrorPipe.h"

#include <cstdlib>

namespace {

using Tessel::Platform::IntRect;
using Tessel::Platform::IntSize;
using Tessel::Platform::Settings;
using Tessel::Platform::Graphics::MemoryWindowSystem;
using Tessel::Platform::Graphics::WindowSystem;
using Tessel::Platform::Testing::StandardErrorPipe;
using test_support::inOwnProcess;
using ::testing::SizeIs;

class ApplicationWindowTest : public test_support::ChromeFixture {
 protected:
  static MemoryWindowSystem::Surface& surface() {
    return test_support::surfaceOf(ApplicationWindow::instance());
  }
  static int flushes() { return static_cast<MemoryWindowSystem&>(WindowSystem::current()).flushes; }
};

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

    // Simulates a resize by the user.
    ApplicationWindow::instance().windowPlaced({0, 0, 900, 700}, false);
    surface().state = ApplicationWindow::instance().state();
    EXPECT_EQ(setSize("0"), (IntSize{800, 600}));

    // Too large for any display or memory.
    callNative({"applicationWindow.setSize", "32767", "32767", "0"});
    EXPECT_EQ(surface().state.rect, (IntRect{0, 0, 16384, 4096}));

    for (const auto& [word, accepted] :
         {std::pair("maximized", "1"), {"covered", "0"}, {"", "0"}}) {
      EXPECT_EQ(callNative({"applicationWindow.setState", word}), accepted) << word;
      EXPECT_EQ(surface().shownAs, Tessel::Platform::Graphics::ShownAs::Maximized);
    }

    // An empty size flushes instead.
    const std::size_t posts = surface().posts.size();
    const int flushed = flushes();
    callNative({"applicationWindow.setSize", "0", "600", "0"});
    EXPECT_THAT(surface().posts, SizeIs(posts));
    EXPECT_EQ(flushes(), flushed + 1);
  });
}

TEST_F(ApplicationWindowTest, SizesThatAreNoneAreToldOfAndTheUsualOneIsTaken) {
  const IntSize usual = Settings::instance().applicationSize();
  const auto sizeWith = [&](const char* width, const char* height) {
    inOwnProcess([&] {
      StandardErrorPipe log;
      ::setenv("WIDTH", width, 1);
      ::setenv("HEIGHT", height, 1);
      const IntRect rect = (ApplicationWindow::instance(), surface().state.rect);
      const bool isTold = log.read().find("are not a valid window size") != std::string::npos;
      const bool isUsual = IntSize{rect.width, rect.height} == usual;
      const bool isAsked = rect.width == std::atoi(width) && rect.height == std::atoi(height);
      EXPECT_TRUE(isTold ? isUsual : isAsked) << width << " " << height << " " << rect.width;
      EXPECT_EQ(isTold, std::string(width) != "640") << width;
    });
  };
  sizeWith("640", "480");
  for (const char* bad : {"-640", "+640", "99999999999", "640px", "", "32767"})
    sizeWith(bad, "480");
}

}  // namespace
