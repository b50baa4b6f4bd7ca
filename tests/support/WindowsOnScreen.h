// A window of the application on the display of the test. Main thread.
#pragma once

#include "platform/graphics/Window.h"
#include "platform/graphics/gtk/GtkWindowSystem.h"
#include "tests/support/Screen.h"
#include "tests/support/Waiting.h"

#include <gtest/gtest.h>

#include <memory>

namespace test_support {

class WindowsOnScreen : public testing::Test {
 protected:
  using IntRect = Tessel::Platform::IntRect;
  using Window = Tessel::Platform::Graphics::Window;

  // A colour that an empty screen does not have.
  static constexpr Pixel background{40, 40, 40};

  void SetUp() override {
    namespace Graphics = Tessel::Platform::Graphics;
    auto system = Graphics::GtkWindowSystem::create();
    ASSERT_TRUE(system) << "there is no display";
    Graphics::WindowSystem::install(std::move(system));
    // Moves the pointer away from where an earlier test left it: a first motion that enters a child
    // window stays in the toolkit's queue until the next event.
    movePointer(1000, 700);
    top_ = std::make_unique<Window>(Graphics::WindowType::Application, nullptr,
                                    IntRect{0, 0, 400, 300}, IntRect{}, Tessel::Platform::IntSize{},
                                    0, false, "tests");
    paint(*top_, {40, 40, 40, 255});
    ASSERT_TRUE(shows(200, 150, background));
  }
  void TearDown() override {
    top_.reset();
    turnLoop();
  }

  std::unique_ptr<Window> makeChild(IntRect rect) const {
    return std::make_unique<Window>(Tessel::Platform::Graphics::WindowType::Child, top_.get(), rect,
                                    IntRect{}, Tessel::Platform::IntSize{}, 0, false, "");
  }
  static void paint(Window& window, Tessel::Platform::Graphics::Color color) {
    Tessel::Platform::Graphics::clearBuffer(window, color);
    window.post({0, 0, 400, 300});
  }
  static bool shows(int x, int y, const Pixel& color) {
    return Tessel::Platform::Testing::iterateUntil([&] { return pixelAt(x, y) == color; });
  }

  std::unique_ptr<Window> top_;
};

}  // namespace test_support
