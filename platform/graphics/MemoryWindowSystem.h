// A window system that shows nothing and remembers everything: for processes without a display,
// and for tests. UI thread.
#pragma once

#include "platform/graphics/WindowSystem.h"

#include <optional>
#include <vector>

namespace Tessel::Platform::Graphics {

class MemoryWindowSystem final : public WindowSystem {
 public:
  class Surface;

  std::unique_ptr<WindowSurface> createSurface(Window& window, WindowSurface* parent) override;
  void flush(bool) override { ++flushes; }

  // Makes createSurface fail, as a system without memory for another buffer does.
  bool full = false;
  int flushes = 0;
};

class MemoryWindowSystem::Surface final : public WindowSurface {
 public:
  void update(const WindowState& newState) override { state = newState; }
  IntSize size() const override { return {state.rect.width, state.rect.height}; }
  void clear(Color newColor) override { color = newColor; }
  void post(const IntRect& area) override { posts.push_back(area); }
  void requestKeyboardFocus() override { ++focusRequests; }
  void minimize() override { ++minimizeRequests; }

  WindowState state;
  std::optional<Color> color;
  std::vector<IntRect> posts;
  int focusRequests = 0;
  int minimizeRequests = 0;
};

}  // namespace Tessel::Platform::Graphics
