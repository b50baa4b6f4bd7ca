// A window system without display that keeps its windows in memory: for processes without a
// display, and for tests. UI thread.
#pragma once

#include "platform/graphics/WindowSystem.h"

#include <optional>
#include <vector>

namespace Tessel::Platform::Graphics {

// Frames are triggered by the test.
class MemoryFrameClock final : public FrameClock {
 public:
  void start(FrameListener& listener) override { listener_ = &listener; }
  void stop() override { listener_ = nullptr; }

  bool isRunning() const { return listener_ != nullptr; }
  void frame(std::chrono::microseconds time) {
    if (listener_) listener_->frame(time);
  }

 private:
  FrameListener* listener_ = nullptr;
};

class MemoryWindowSystem final : public WindowSystem {
 public:
  class Surface;

  std::unique_ptr<WindowSurface> createSurface(Window& window, WindowSurface* parent) override;
  void flush(bool) override { ++flushes; }
  MemoryFrameClock& frameClock() override { return clock_; }

  // Makes createSurface fail, as when out of memory.
  bool full = false;
  int flushes = 0;

 private:
  MemoryFrameClock clock_;
};

class MemoryWindowSystem::Surface final : public WindowSurface {
 public:
  void update(const WindowState& newState) override { state = newState; }
  IntSize size() const override { return {state.rect.width, state.rect.height}; }
  void clear(Color newColor) override { color = newColor; }
  void post(const IntRect& area) override { posts.push_back(area); }
  void requestKeyboardFocus() override { ++focusRequests; }
  void showAs(ShownAs wanted) override { shownAs = wanted; }

  WindowState state;
  std::optional<Color> color;
  std::vector<IntRect> posts;
  int focusRequests = 0;
  ShownAs shownAs = ShownAs::Normal;  // as was asked for last
};

}  // namespace Tessel::Platform::Graphics
