// The screen and what is shared by everything drawn on it. UI thread.
#include "platform/graphics/Screen.h"

#include "platform/graphics/WindowSystem.h"

namespace Tessel::Platform::Graphics {

Screen& Screen::primaryScreen() {
  static Screen screen;
  return screen;
}

ScreenContext& ScreenContext::sharedContext() {
  static ScreenContext context;
  return context;
}

void ScreenContext::flush(bool wait) {
  WindowSystem::current().flush(wait);
}

}  // namespace Tessel::Platform::Graphics
