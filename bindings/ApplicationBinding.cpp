// The application.* functions, and what surrounds the application told to the chrome. UI thread.
#include "bindings/ApplicationBinding.h"

#include "bindings/NavigatorCall.h"
#include "platform/desktop/FontInfo.h"
#include "platform/desktop/LocaleHandler.h"
#include "platform/graphics/Screen.h"
#include "platform/hosts/RegisteredDomain.h"
#include "platform/os/Settings.h"
#include "webview/WebView.h"
#include "webview/WebViewManager.h"

#include <climits>
#include <cmath>
#include <cstdlib>
#include <string_view>

using navigator::argumentAt;
using navigator::call;
using Tessel::Platform::FontInfo;
using Tessel::Platform::LocaleHandler;
using Tessel::Platform::NavigatorHandler;
using Tessel::Platform::String;
using Tessel::Platform::Graphics::PixelsPerInch;
using Tessel::Platform::Graphics::Screen;

namespace {

using Event = OrvWebJavaScriptCallbackEvent;

constexpr const char* deviceVariable = "SOCK_SO_BINDTODEVICE";

ApplicationBinding::SetKeyboardFocus setFocus = nullptr;

int pixelsOf(double points) {
  const PixelsPerInch pixels = Screen::primaryScreen().pixelsPerInch(-1);
  const float average = (pixels.x + pixels.y) * 0.5F;
  return static_cast<int>(std::lroundf(static_cast<float>(points / 72.0 * average)));
}

bool wrongCount(const Event& event, int required, const char* name, int maximum = -1) {
  return BindingManager::checkArgumentCount(static_cast<int>(event.numArgs()), required, name,
                                            maximum);
}

void jsLockRotation(Event* event) {
  if (wrongCount(*event, 1, "jsLockRotation", 2)) return;
  if (event->numArgs() == 2) {
    NavigatorHandler::instance().lockRotation(argumentAt(*event, 1));
  } else {
    NavigatorHandler::instance().lockRotation();
  }
}

void jsGetenv(Event* event) {
  if (wrongCount(*event, 2, "jsGetenv")) return;
  event->setResult(std::getenv(argumentAt(*event, 1)));
}

void jsSetenv(Event* event) {
  if (wrongCount(*event, 3, "jsSetenv")) return;
  event->setResult(
      String::fromSignedInteger(::setenv(argumentAt(*event, 1), argumentAt(*event, 2), 1)));
}

void jsUnsetenv(Event* event) {
  if (wrongCount(*event, 2, "jsUnsetenv")) return;
  event->setResult(String::fromSignedInteger(::unsetenv(argumentAt(*event, 1))));
}

void jsSystemFontFamily(Event* event) {
  event->setResult(FontInfo::instance().fontFamily(String(""), String("")));
}

void jsSystemFontSize(Event* event) {
  event->setResult(String::fromSignedInteger(pixelsOf(FontInfo::instance().fontSize())));
}

void jsSystemRegion(Event* event) {
  event->setResult(navigator::withHyphen(LocaleHandler::instance().region()));
}

void jsBindToNetworkDevice(Event* event) {
  if (wrongCount(*event, 2, "jsBindToNetworkDevice")) return;
  const char* device = argumentAt(*event, 1);
  WebViewManager::instance().setEnvInGroups(deviceVariable, device);
  // For the groups that are launched later.
  ::setenv(deviceVariable, device, 1);
}

void jsRealpath(Event* event) {
  if (wrongCount(*event, 2, "jsRealpath")) return;
  char resolved[PATH_MAX];
  event->setResult(::realpath(argumentAt(*event, 1), resolved));
}

void jsSetKeyboardFocus(Event* event) {
  if (wrongCount(*event, 2, "jsSetKeyboardFocus")) return;
  if (setFocus) setFocus(static_cast<int>(navigator::numberAt(*event, 1)));
}

void jsGetRegisteredDomain(Event* event) {
  if (wrongCount(*event, 2, "jsGetRegisteredDomain")) return;
  event->setResult(Tessel::Platform::getRegisteredDomain(argumentAt(*event, 1)));
}

void jsSandbox(Event* event) {
  event->setResult(textOf(Tessel::Platform::Settings::instance().pageSandbox()));
}

struct {
  const char* name;
  BindingHandler handler;
} constexpr functions[] = {
    {"application.adduri", call<"jsAddURI", &NavigatorHandler::addURI>},
    {"application.newWallpaper", call<"jsNewWallpaper", &NavigatorHandler::newWallpaper>},
    {"application.rotate", call<"jsRotate", &NavigatorHandler::rotate>},
    {"application.lockRotation", jsLockRotation},
    {"application.unlockRotation", call<"jsUnlockRotation", &NavigatorHandler::unlockRotation>},
    {"application.minimizeWindow", call<"jsMinimizeWindow", &NavigatorHandler::minimizeWindow>},
    {"application.requestExit", call<"", &NavigatorHandler::closeWindow>},
    {"application.getenv", jsGetenv},
    {"application.notifyRotateComplete", call<"", &NavigatorHandler::notifyRotateComplete>},
    {"application.setenv", jsSetenv},
    {"application.unsetenv", jsUnsetenv},
    {"application.setKeyboardTracking",
     call<"jsSetKeyboardTracking", &NavigatorHandler::setKeyboardTracking>},
    {"application.setSwipeStart", call<"jsSetSwipeStart", &NavigatorHandler::setSwipeStart>},
    {"application.systemFontFamily", jsSystemFontFamily},
    {"application.systemFontSize", jsSystemFontSize},
    {"application.systemRegion", jsSystemRegion},
    {"application.bindToNetworkDevice", jsBindToNetworkDevice},
    {"application.isDeviceLocked", call<"", &NavigatorHandler::isDeviceLocked>},
    {"application.updateCover", call<"jsUpdateCover", &NavigatorHandler::updateCover>},
    {"application.setPooled", call<"", &NavigatorHandler::setPooled>},
    {"application.extendTerminate", call<"", &NavigatorHandler::extendTerminate>},
    {"application.coverSize", call<"", &NavigatorHandler::coverSize>},
    {"application.isForeground", call<"", &NavigatorHandler::isForeground>},
    {"application.realpath", jsRealpath},
    {"application.setKeyboardFocus", jsSetKeyboardFocus},
    {"application.getRegisteredDomain", jsGetRegisteredDomain},
    {"application.sandbox", jsSandbox},
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
  for (const auto& [name, handler] : functions) {
    BindingManager::instance().registerBinding(name, handler);
  }
}

ApplicationBinding::~ApplicationBinding() {
  NavigatorHandler::instance().removeListener(this);
  LocaleHandler::instance().removeListener(this);
  FontInfo::instance().removeListener(this);
}

// The end comes after the chrome has heard of it: what is only posted would go with its page.
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
