// The window system in use, and the one that keeps windows in memory. UI thread.
#include "platform/graphics/WindowSystem.h"

#include "platform/graphics/MemoryWindowSystem.h"

namespace Tessel::Platform::Graphics {

namespace {

// Never destroyed: windows may outlive static destruction.
WindowSystem*& currentSystem() {
  static WindowSystem* system = new MemoryWindowSystem;
  return system;
}

}  // namespace

WindowSystem& WindowSystem::current() {
  return *currentSystem();
}

void WindowSystem::install(std::unique_ptr<WindowSystem> system) {
  delete currentSystem();
  currentSystem() = system.release();
}

std::unique_ptr<WindowSurface> MemoryWindowSystem::createSurface(Window&, WindowSurface*) {
  if (full) return nullptr;
  return std::make_unique<Surface>();
}

}  // namespace Tessel::Platform::Graphics
