// The one top-level window of the application. UI thread.
#include "src/ApplicationWindow.h"

#include "platform/base/Log.h"
#include "platform/desktop/NavigatorHandler.h"
#include "platform/graphics/DisplayLimits.h"
#include "platform/graphics/ReservedKeys.h"
#include "platform/graphics/Screen.h"
#include "platform/os/Settings.h"
#include "registry/NativeFunctions.h"
#include "src/ProgramOptions.h"
#include "webview/WebView.h"
#include "webview/WebViewManager.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>
#include <vector>

using Tessel::Platform::IntRect;
using Tessel::Platform::IntSize;
using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::NavigatorHandler;
using Tessel::Platform::Settings;
using Tessel::Platform::Graphics::displayable;
using Tessel::Platform::Graphics::longestSide;
using Tessel::Platform::Graphics::ReservedKeys;
using Tessel::Platform::Graphics::Screen;
using Tessel::Platform::Graphics::ScreenContext;
using Tessel::Platform::Graphics::ScreenFilling;
using Tessel::Platform::Graphics::ShownAs;
using Tessel::Platform::Graphics::shownAsNames;
using Tessel::Platform::Graphics::WindowSurface;
using Tessel::Platform::Graphics::WindowType;

namespace {

constexpr int opaqueTransparency = 5;

// So many clicks on the close button within that time are meant, whatever the chrome says.
constexpr std::size_t insistingRequests = 3;
constexpr std::chrono::seconds insistingTime{10};

struct {
  const char* name;
  int degrees;
} constexpr rotations[] = {{"top_up", 0}, {"left_up", 90}, {"right_up", 270}};

int rotationNamed(const char* name) {
  for (const auto& rotation : rotations) {
    if (std::strcmp(rotation.name, name) == 0) return rotation.degrees;
  }
  return 0;
}

// A dimension of the window in pixels: 0 if not given, empty if malformed or out of range.
std::optional<int> sideFrom(const char* text) {
  if (!text) return 0;
  int side = 0;
  const char* const end = text + std::strlen(text);
  const auto [last, error] = std::from_chars(text, end, side);
  const bool isNumber = error == std::errc() && last == end && *text != '-';
  return isNumber && side <= longestSide ? std::optional(side) : std::nullopt;
}

// Applies the display state that the environment requests.
void show(WindowSurface& surface) {
  if (isSwitchedOn(kioskVariable)) {
    surface.fillScreen(ScreenFilling::InAnyCase);
  } else if (isSwitchedOn(fullscreenVariable)) {
    surface.showAs(ShownAs::Fullscreen);
  } else if (!std::getenv("WIDTH") && !std::getenv("HEIGHT")) {
    surface.fillScreen(ScreenFilling::WithoutManager);
  }
}

// The requested size; used before the window exists.
IntSize launchedSize() {
  int rotation = 0;
  if (const char* name = std::getenv("ROTATION")) {
    rotation = rotationNamed(name);
    Screen::primaryScreen().setRotation(rotation);
  }
  const char* const widthText = std::getenv("WIDTH");
  const char* const heightText = std::getenv("HEIGHT");
  const auto width = sideFrom(widthText);
  const auto height = sideFrom(heightText);
  const IntSize size{width.value_or(0), height.value_or(0)};
  if (!width || !height || displayable(size) != size) {
    logAlways(LogError,
              "WIDTH=%.20s and HEIGHT=%.20s are not a valid window size; using the default.",
              widthText ? widthText : "", heightText ? heightText : "");
  } else if (size.width != 0 && size.height != 0) {
    ApplicationWindow::setApplicationSize(size.width, size.height, rotation);
  }
  return Settings::instance().applicationSize();
}

struct WindowFunctions {
  static void setVisible(bool visible) {
    ApplicationWindow::instance().setVisible(visible);
    ApplicationWindow::instance().present();
  }
  static void flushContext() { ScreenContext::sharedContext().flush(false); }
  static bool setState(const char* state) {
    const auto found =
        std::find_if(shownAsNames.begin(), shownAsNames.end(),
                     [&](const char* name) { return std::strcmp(name, state) == 0; });
    const auto wanted = static_cast<ShownAs>(found - shownAsNames.begin());
    WindowSurface* const surface = ApplicationWindow::instance().surface();
    if (found == shownAsNames.end() || wanted == ShownAs::Covered || !surface) return false;
    surface->showAs(wanted);
    return true;
  }
  static void setAsksBeforeClosing(bool asks) {
    ApplicationWindow::instance().setAsksBeforeClosing(asks);
  }
  static bool setReservedKeys(const arguments::Groups<0, arguments::Text>& keys) {
    std::vector<std::string_view> names;
    for (std::size_t i = 0; i < keys.count(); ++i) names.emplace_back(std::get<0>(keys[i]));
    return ReservedKeys::instance().reserve(names);
  }
  static void setSize(int width, int height, int rotation) {
    ApplicationWindow::instance().resize(width, height, rotation);
  }
};

}  // namespace

ApplicationWindow& ApplicationWindow::instance() {
  static auto* window = new ApplicationWindow(launchedSize());
  return *window;
}

ApplicationWindow::ApplicationWindow(IntSize size)
    : Window(WindowType::Application, nullptr, {0, 0, size.width, size.height},
             {0, 0, size.width, size.height}, {1, 1}, 0, false, Tessel::Platform::String()) {
  setListener(this);
  if (WindowSurface* shown = surface()) show(*shown);
  setZOrder(0);
  setTransparency(opaqueTransparency);
  clearBuffer(*this, {255, 255, 255, 255});
  present();
  WebView::installWindowLookup([](const std::string& identifier) {
    return ApplicationWindow::instance().windowHandleFor(identifier);
  });
  WebViewManager::instance().setChromeLostListener([this] {
    setAsksBeforeClosing(false);
    ReservedKeys::instance().reserve({});
  });
  ReservedKeys::instance().setListener([](const std::string& name) {
    NavigatorHandler::instance().onReservedKey(Tessel::Platform::String(name));
  });
  arguments::registerFunctions<"WindowFunctions", WindowFunctions>(BindingManager::instance());
}

void ApplicationWindow::setApplicationSize(int width, int height, int rotation) {
  const bool sideways = std::abs(rotation % 180) == 90;
  Settings::instance().setApplicationSize(sideways ? IntSize{height, width}
                                                   : IntSize{width, height});
}

void ApplicationWindow::resize(int width, int height, int rotation) {
  const IntRect rect = displayable(IntRect{0, 0, width, height});
  setApplicationSize(rect.width, rect.height, rotation);
  setWindowRectangle(rect);
  setViewportRectangle(rect);
  setOrientation(rotation);
  present();
}

void ApplicationWindow::present() {
  const IntSize size = surfaceSize();
  if (size.width >= 1 && size.height >= 1) {
    post({0, 0, size.width, size.height});
  } else {
    ScreenContext::sharedContext().flush(false);
  }
}

int ApplicationWindow::windowHandleFor(const std::string& identifier) const {
  const auto found = children_.find(identifier);
  return found == children_.end() ? 0 : found->second->platformHandle();
}

void ApplicationWindow::addChildWindow(Window* child) {
  children_.emplace(child->identifier().toStdString(), child);
}

void ApplicationWindow::removeChildWindow(Window* child) {
  children_.erase(child->identifier().toStdString());
}

void ApplicationWindow::setKeyboardFocus(int value) {
  if (!Tessel::Platform::Graphics::setGroupKeyboardFocus(platformHandle(), value)) {
    logAlways(LogError, "Failed to get window group: %s (%d)", std::strerror(errno), errno);
    return;
  }
  ScreenContext::sharedContext().flush(false);
}

void ApplicationWindow::windowResized(IntSize size) {
  Settings::instance().setApplicationSize(size);
}

void ApplicationWindow::setAsksBeforeClosing(bool asks) {
  asksBeforeClosing_ = asks;
  closeRequests_.clear();
}

void ApplicationWindow::windowCloseRequested() {
  if (!asksBeforeClosing_) return windowEndRequested();
  // A chrome that hangs, or has lost its function, must not keep the window open.
  const auto now = std::chrono::steady_clock::now();
  while (!closeRequests_.empty() && now - closeRequests_.front() > insistingTime) {
    closeRequests_.pop_front();
  }
  closeRequests_.push_back(now);
  if (closeRequests_.size() >= insistingRequests) return windowEndRequested();
  NavigatorHandler::instance().onCloseRequest();
}

void ApplicationWindow::windowEndRequested() {
  if (service_ && service_->closeRequested()) return;
  WebViewManager::instance().shutdown();
}

void ApplicationWindow::windowActiveChanged(bool active) {
  if (service_) service_->activeChanged(active);
}

void ApplicationWindow::windowShownAsChanged(Tessel::Platform::Graphics::ShownAs shownAs) {
  if (service_) service_->shownAsChanged(shownAs);
}
