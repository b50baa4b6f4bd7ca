// The screen and state shared by all windows. UI thread.
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

void ScreenContext::addWindowListener(ScreenEventType type, ScreenWindowListener* listener) {
  listeners_[type].add(listener);
}

void ScreenContext::removeWindowListener(ScreenEventType type, ScreenWindowListener* listener) {
  listeners_[type].remove(listener);
}

void ScreenContext::tell(const RawTouchEvent& event) {
  listeners_[ScreenEventType::Touch].forEach(
      [&](ScreenWindowListener& listener) { listener.touchEvent(event); });
}

void ScreenContext::tell(const RawMouseEvent& event) {
  listeners_[ScreenEventType::Mouse].forEach(
      [&](ScreenWindowListener& listener) { listener.mouseEvent(event); });
}

}  // namespace Tessel::Platform::Graphics
