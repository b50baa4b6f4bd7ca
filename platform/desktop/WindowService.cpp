// The application's window as the navigator sees it. Main thread.
#include "platform/desktop/WindowService.h"

#include <glib.h>

#include <utility>

namespace Tessel::Platform {

using Graphics::ShownAs;

namespace {

bool hides(ShownAs shownAs) {
  return shownAs == ShownAs::Minimized || shownAs == ShownAs::Covered;
}

}  // namespace

WindowService::WindowService(NavigatorHandler& handler, Graphics::Window& window)
    : handler_(handler), window_(window) {
  handler_.addService(this);
}

WindowService::~WindowService() {
  if (closing_) g_source_remove(closing_);
  handler_.removeService(this);
}

void WindowService::activeChanged(bool active) {
  if (active == active_) return;
  active_ = active;
  active ? handler_.onWindowActive() : handler_.onWindowInactive();
}

void WindowService::shownAsChanged(ShownAs shownAs) {
  if (shownAs == shownAs_) return;
  shownAs_ = shownAs;
  handler_.onWindowState(Graphics::shownAsNames.at(static_cast<std::size_t>(shownAs)));
  updateHidden();
}

void WindowService::seatChanged(bool active) {
  isSeatActive_ = active;
  updateHidden();
}

void WindowService::updateHidden() {
  const bool hidden = hides(shownAs_) || !isSeatActive_;
  if (std::exchange(isHidden_, hidden) == hidden) return;
  hidden ? handler_.onWindowCoverEnter() : handler_.onWindowCoverExit();
}

bool WindowService::closeRequested() {
  if (!handler_.hasListeners()) return false;
  handler_.onExit();
  return true;
}

void WindowService::minimizeWindow() {
  if (Graphics::WindowSurface* surface = window_.surface())
    surface->showAs(Graphics::ShownAs::Minimized);
}

void WindowService::closeWindow() {
  if (closing_) return;
  // Deferred: the requesting chrome waits for its call to return, and is destroyed with the window.
  closing_ = g_idle_add(
      [](gpointer self) -> gboolean {
        auto* service = static_cast<WindowService*>(self);
        service->closing_ = 0;
        if (Graphics::WindowListener* listener = service->window_.listener()) {
          listener->windowEndRequested();
        }
        return G_SOURCE_REMOVE;
      },
      this);
}

bool WindowService::isForeground() {
  return active_ && !isHidden_;
}

String WindowService::coverSize() {
  const IntSize size = window_.surfaceSize();
  return concat("{\"width\":", String::fromSignedInteger(size.width),
                ",\"height\":", String::fromSignedInteger(size.height), "}");
}

}  // namespace Tessel::Platform
