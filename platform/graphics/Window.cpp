// Windows, their groups and the registry of handles. UI thread.
#include "platform/graphics/Window.h"

#include "platform/graphics/DisplayLimits.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <map>
#include <utility>

namespace Tessel::Platform::Graphics {

namespace {

// A handle is the group of the process that allocated it, followed by a sequence number.
constexpr int groupShift = 20;
constexpr int lastNumber = (1 << groupShift) - 1;
// Far from the handles of web views, which begin at 1: one that is taken for the other names
// nothing.
constexpr int firstNumber = 100'000;
static_assert(Window::lastHandleGroup == std::numeric_limits<int>::max() >> groupShift);

struct Registry {
  int base = 0;
  int number = firstNumber - 1;
  std::map<int, Window*> byHandle;
  std::map<String, Window*> topLevels;
};

Registry& registry() {
  static auto* instance = new Registry;
  return *instance;
}

int nextHandle() {
  Registry& windows = registry();
  return windows.number == lastNumber ? 0 : windows.base | ++windows.number;
}

String identifierFor(int pid, int handle) {
  return concat("window-", String::fromSignedInteger(pid), "-", String::fromSignedInteger(handle));
}

String groupFor(const Window* topLevel, const String& asked, int handle) {
  if (topLevel) return topLevel->windowGroup();
  return asked.isEmpty() ? concat("group-", identifierFor(getpid(), handle)) : asked;
}

}  // namespace

Window::Window(WindowType type, Window* parent, const IntRect& windowRect,
               const IntRect& viewportRect, IntSize, int, bool, const String& group)
    : handle_(nextHandle()),
      identifier_(identifierFor(getpid(), handle_)),
      topLevel_(type == WindowType::Application ? this
                : parent                        ? parent->topLevel_
                                                : topLevelOf(group)),
      group_(groupFor(topLevel_ == this ? nullptr : topLevel_, group, handle_)),
      viewportRect_(viewportRect) {
  state_.rect = displayable(windowRect);
  state_.fillsParent = windowRect == IntRect();
  // A child without a group has no top-level window to be shown in.
  if (!topLevel_ || handle_ == 0) return;
  registry().byHandle.emplace(handle_, this);
  if (topLevel_ == this) {
    state_.fillsParent = false;
    registry().topLevels.emplace(group_, this);
    surface_ = WindowSystem::current().createSurface(*this, nullptr);
  } else if (topLevel_->surface()) {
    surface_ = WindowSystem::current().createSurface(*this, topLevel_->surface());
  }
  if (surface_) surface_->update(state_);
  if (topLevel_ != this) topLevel_->addChildWindow(this);
}

Window::Window(Window& topLevel, int handle, int pid, WindowState state)
    : handle_(handle),
      identifier_(identifierFor(pid, handle)),
      topLevel_(&topLevel),
      group_(topLevel.windowGroup()),
      state_(std::move(state)) {
  registry().byHandle.emplace(handle_, this);
  if (topLevel.surface()) {
    surface_ = WindowSystem::current().createSurface(*this, topLevel.surface());
  }
  if (surface_) surface_->update(state_);
  topLevel.addChildWindow(this);
}

Window::~Window() {
  auto& windows = registry().byHandle;
  windows.erase(handle_);
  if (topLevel_ == this) {
    if (topLevelOf(group_) == this) registry().topLevels.erase(group_);
    // Children that outlive their top-level window become invisible.
    for (auto& [handle, window] : windows) {
      if (window->topLevel_ != this) continue;
      window->surface_.reset();
      window->topLevel_ = nullptr;
    }
  } else if (topLevel_) {
    topLevel_->removeChildWindow(this);
  }
}

bool Window::setHandleBase(unsigned groupId) {
  if (groupId > lastHandleGroup) return false;
  registry().base = static_cast<int>(groupId) << groupShift;
  return true;
}

bool Window::isHandleOf(unsigned groupId, int handle) {
  return handle > 0 && static_cast<unsigned>(handle) >> groupShift == groupId &&
         (handle & lastNumber) != 0;
}

Window* Window::topLevelOf(const String& group) {
  const auto found = registry().topLevels.find(group);
  return found == registry().topLevels.end() ? nullptr : found->second;
}

Window* Window::fromPlatformHandle(int handle) {
  const auto found = registry().byHandle.find(handle);
  return found == registry().byHandle.end() ? nullptr : found->second;
}

template <typename Value>
void Window::change(Value WindowState::*field, Value value) {
  if (state_.*field == value) return;
  state_.*field = std::move(value);
  if (surface_) surface_->update(state_);
}

IntRect Window::windowRectangle() const {
  if (!state_.fillsParent) return state_.rect;
  const IntSize size = surfaceSize();
  return {0, 0, size.width, size.height};
}

void Window::windowPlaced(const IntRect& rect, bool fillsParent) {
  state_.rect = fillsParent ? IntRect() : rect;
  state_.fillsParent = fillsParent;
}

void Window::setWindowRectangle(const IntRect& wanted) {
  const IntRect rect = displayable(wanted);
  const bool isKnown = !surface_ || !surface_->isMovedByOthers();
  const bool fillsScreen = state_.fullScreen == FullScreen::Filling;
  if (isKnown && !state_.fillsParent && !fillsScreen && state_.rect == rect) return;
  state_.fillsParent = false;
  if (fillsScreen) state_.fullScreen = FullScreen::Placed;
  state_.rect = rect;
  if (surface_) surface_->place(state_);
}

IntPoint Window::windowLocation() const {
  const bool covers = state_.fillsParent || state_.fullScreen == FullScreen::Filling;
  return covers ? IntPoint() : IntPoint{state_.rect.x, state_.rect.y};
}

void Window::setWindowLocation(IntPoint location) {
  const IntPoint place{std::clamp(location.x, -farthestPlace, farthestPlace),
                       std::clamp(location.y, -farthestPlace, farthestPlace)};
  if (place == windowLocation()) return;
  const IntSize size =
      state_.fillsParent ? surfaceSize() : IntSize{state_.rect.width, state_.rect.height};
  setWindowRectangle({place.x, place.y, size.width, size.height});
}

void Window::setDiscardRects(std::vector<IntRect> rects) {
  change(&WindowState::discardRects, std::move(rects));
}
void Window::setZOrder(int zOrder) {
  change(&WindowState::zOrder, zOrder);
}
void Window::setFullScreen(FullScreen fullScreen) {
  change(&WindowState::fullScreen, fullScreen);
}
void Window::setVisible(bool visible) {
  change(&WindowState::visible, visible);
}
void Window::setGlobalAlpha(int alpha) {
  change(&WindowState::globalAlpha, std::clamp(alpha, 0, 255));
}
void Window::setSensitivity(Sensitivity sensitivity) {
  change(&WindowState::sensitivity, sensitivity);
}
void Window::setTransparency(int type) {
  change(&WindowState::transparency, type);
}
void Window::setOrientation(int degrees) {
  change(&WindowState::orientation, degrees);
}

void Window::post(const IntRect& area) {
  if (surface_) surface_->post(area);
}

void clearBuffer(Window& window, Color color) {
  if (window.surface()) window.surface()->clear(color);
}

bool setGroupKeyboardFocus(int platformHandle, int value) {
  Window* window = Window::fromPlatformHandle(platformHandle);
  if (!window) {
    errno = EINVAL;
    return false;
  }
  Window* topLevel = Window::topLevelOf(window->windowGroup());
  if (!topLevel || !topLevel->surface()) {
    errno = ENODEV;
    return false;
  }
  if (value != 0) topLevel->surface()->requestKeyboardFocus();
  return true;
}

}  // namespace Tessel::Platform::Graphics
