// The application.* functions, and notifications of the chrome about its environment. UI thread.
#include "bindings/ApplicationBinding.h"

#include "bindings/NavigatorCall.h"
#include "platform/desktop/FontInfo.h"
#include "platform/desktop/LocaleHandler.h"
#include "platform/graphics/Screen.h"
#include "platform/hosts/RegisteredDomain.h"
#include "platform/os/Settings.h"
#include "registry/NativeFunctions.h"
#include "webview/WebView.h"
#include "webview/WebViewManager.h"

#include <climits>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <string_view>

using Tessel::Platform::FontInfo;
using Tessel::Platform::LocaleHandler;
using Tessel::Platform::NavigatorHandler;
using Tessel::Platform::String;
using Tessel::Platform::Graphics::PixelsPerInch;
using Tessel::Platform::Graphics::Screen;

namespace {

constexpr const char* deviceVariable = "SOCK_SO_BINDTODEVICE";

ApplicationBinding::SetKeyboardFocus setFocus = nullptr;

int pixelsOf(double points) {
  const PixelsPerInch pixels = Screen::primaryScreen().pixelsPerInch(-1);
  const float average = (pixels.x + pixels.y) * 0.5F;
  return static_cast<int>(std::lroundf(static_cast<float>(points / 72.0 * average)));
}

// With what only asks the navigator.
struct ApplicationFunctions : navigator::Requests {
  static void lockRotation(const std::optional<String>& orientation) {
    orientation ? Requests::lockRotation(*orientation) : Requests::lockRotation();
  }

  static const char* getenv(const char* name) { return std::getenv(name); }
  static int setenv(const char* name, const char* value) { return ::setenv(name, value, 1); }
  static int unsetenv(const char* name) { return ::unsetenv(name); }
  static String realpath(const char* path) {
    char resolved[PATH_MAX];
    return ::realpath(path, resolved);
  }
  static void bindToNetworkDevice(const char* device) {
    WebViewManager::instance().setEnvInGroups(deviceVariable, device);
    // For the groups that are launched later.
    ::setenv(deviceVariable, device, 1);
  }

  static String systemFontFamily() {
    return FontInfo::instance().fontFamily(String(""), String(""));
  }
  static int systemFontSize() { return pixelsOf(FontInfo::instance().fontSize()); }
  static String systemRegion() { return navigator::withHyphen(LocaleHandler::instance().region()); }
  static void setKeyboardFocus(int value) {
    if (setFocus) setFocus(value);
  }
  static String getRegisteredDomain(const String& host) {
    return Tessel::Platform::getRegisteredDomain(host);
  }
  static const char* sandbox() {
    return textOf(Tessel::Platform::Settings::instance().pageSandbox());
  }
};

template <typename... Values>
std::vector<JavaScriptVariant> variants(const Values&... values) {
  return {JavaScriptVariant(values)...};
}

}  // namespace

ApplicationBinding::ApplicationBinding(WebView* root, SetKeyboardFocus setKeyboardFocus)
    : root_(root) {
  setFocus = setKeyboardFocus;
  NavigatorHandler::instance().addListener(this);
  LocaleHandler::instance().addListener(this);
  FontInfo::instance().addListener(this);
  arguments::registerFunctions<"ApplicationFunctions", ApplicationFunctions>(
      BindingManager::instance());
}

ApplicationBinding::~ApplicationBinding() {
  NavigatorHandler::instance().removeListener(this);
  LocaleHandler::instance().removeListener(this);
  FontInfo::instance().removeListener(this);
}

// Ends only after the chrome has handled the notification: a posted one would be lost with its
// page.
#define APPLICATION_NOTIFICATION(name, Result, parameters, arguments, text)       \
  Result ApplicationBinding::name parameters {                                    \
    constexpr bool ends = std::string_view(#name) == "onExit";                    \
    navigator::tellChrome(root_, "application", #name, variants arguments, ends); \
    if constexpr (ends) WebViewManager::instance().shutdown();                    \
    return Result();                                                              \
  }
#include "platform/desktop/Notifications.def"

bool ApplicationBinding::onRotateCheck(const String&, const String&) {
  return true;
}

void ApplicationBinding::onLanguageChange(const String& language) {
  navigator::tellChrome(root_, "application", "onLanguageChange",
                        {navigator::withHyphen(language)});
}

void ApplicationBinding::onRegionChange(const String& region) {
  navigator::tellChrome(root_, "application", "onRegionChange", {navigator::withHyphen(region)});
}

void ApplicationBinding::onFontInfoChange(const String& family, float points) {
  navigator::tellChrome(root_, "application", "onFontInfoChange", {family, pixelsOf(points)});
}
