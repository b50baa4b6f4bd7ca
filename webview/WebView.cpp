// The program's web view. UI thread.
#include "webview/WebView.h"

#include "engine/RecordJson.h"
#include "platform/base/Log.h"
#include "platform/desktop/LocaleHandler.h"
#include "platform/hosts/HostNames.h"
#include "platform/loop/MessageClient.h"
#include "platform/os/Settings.h"
#include "platform/os/Vibrator.h"
#include "registry/BindingManager.h"
#include "webview/WebViewManager.h"
#include "webview/events/Fields.h"

#include <glib.h>

#include <algorithm>
#include <cstdio>
#include <utility>

using Tessel::Platform::concat;
using Tessel::Platform::GuardedPin;
using Tessel::Platform::LocaleHandler;
using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::LogNotice;
using Tessel::Platform::Settings;
using Tessel::Platform::Graphics::Sensitivity;
using Tessel::Platform::Graphics::Window;
using Tessel::Platform::Graphics::WindowType;

namespace {

// Blended by pixel alpha.
constexpr int blendedTransparency = 3;

WebView::WindowLookup windowLookup = nullptr;

// A valid header: token characters in the name, no line break or zero byte in the value.
bool canBeSent(const OrvWebHeader& header) {
  const std::string_view name = header.key().view();
  const auto isOfToken = [](char c) {
    return g_ascii_isalnum(c) || std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string::npos;
  };
  const std::string_view value = header.value().view();
  return !name.empty() && std::all_of(name.begin(), name.end(), isOfToken) &&
         value.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

}  // namespace

WebView::WebView(unsigned int handle, String windowGroup)
    : handle_(handle), windowGroup_(std::move(windowGroup)) {
  setEnableDiskCache(false);
  enableOrvJavaScriptObject(false);
  setAllWebEventsEnabled(false);
  setAllPropertyChangedEventsEnabled(false);
  setWebEventEnabled(OrvWebEvent::Created, true);
}

WebView::~WebView() {
  destroyFadeColorWindow();
}

void WebView::setArguments(int count, char** arguments) {
  arguments_ = fields::textOf(std::vector<const char*>(arguments, arguments + count));
}

void WebView::enableNativeBindings(bool enabled) {
  nativeBindingsEnabled_ = enabled;
  bindOrvJavaScriptObject(enabled, capabilities_.origins());
  enableOrvJavaScriptObject(true);
  setWebEventEnabled(OrvWebEvent::JavaScriptCallback, true);
}

bool WebView::setExtraHttpHeaders(const String& json) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseIterativeFlag>(json.utf8(), json.length());
  const auto refuse = [](const char* why) {
    WebViewManager::instance().informChromeOfError(why);
    return false;
  };
  if (document.HasParseError()) return refuse("WebView::setExtraHttpHeaders json parsing failed.");
  if (!document.IsObject()) return refuse("WebView::setExtraHttpHeaders json is not an object.");

  std::vector<OrvWebHeader> headers;
  for (const auto& member : document.GetObject()) {
    // Arrays and objects are no header values, and serialising them is recursive.
    if (member.value.IsArray() || member.value.IsObject()) continue;
    OrvWebHeader header;
    header.setKey(std::string_view(member.name.GetString(), member.name.GetStringLength()));
    if (member.value.IsString()) {
      header.setValue(std::string_view(member.value.GetString(), member.value.GetStringLength()));
    } else {
      header.setValue(
          fields::jsonText([&](fields::JsonWriter& writer) { member.value.Accept(writer); }));
    }
    if (!canBeSent(header)) continue;
    // Names are case-insensitive: the last one wins.
    std::erase_if(headers, [&](const OrvWebHeader& other) {
      return g_ascii_strcasecmp(other.key().utf8(), header.key().utf8()) == 0;
    });
    headers.push_back(std::move(header));
  }
  setCustomHTTPHeaders(headers.data(), static_cast<unsigned int>(headers.size()));
  return true;
}

WebView::String WebView::extraHttpHeaders() const {
  return fields::jsonText([this](fields::JsonWriter& writer) {
    const auto text = [](const String& value) {
      return rapidjson::Value(
          rapidjson::StringRef(value.utf8(), static_cast<rapidjson::SizeType>(value.length())));
    };
    writer.StartObject();
    for (const OrvWebHeader& header : customHTTPHeaders()) {
      text(header.key()).Accept(writer);
      text(header.value()).Accept(writer);
    }
    writer.EndObject();
  });
}

int WebView::createFadeColorWindow(int x, int y, int width, int height, int zOrder) {
  if (fadeWindow_) return fadeWindow_->platformHandle();
  fadeWindow_ = new Window(WindowType::Child, Window::topLevelOf(windowGroup_),
                           {x, y, width, height}, {0, 0, 1, 1}, {1, 1}, 0, false, String());
  fadeWindow_->setTransparency(blendedTransparency);
  fadeWindow_->setSensitivity(Sensitivity::Never);
  fadeWindow_->setZOrder(zOrder);
  fadeWindow_->setGlobalAlpha(0);
  if (!fadeWindow_->hasBuffer()) {
    destroyFadeColorWindow();
    return 0;
  }
  clearBuffer(*fadeWindow_, {fadeColor_[0], fadeColor_[1], fadeColor_[2], fadeColor_[3]});
  fadeWindow_->setVisible(true);
  fadeWindow_->post({0, 0, 1, 1});
  return fadeWindow_->platformHandle();
}

void WebView::destroyFadeColorWindow() {
  deleteGuardedObject(fadeWindow_);
  fadeWindow_ = nullptr;
}

int WebView::fadeColorWindowPlatformHandle() const {
  return fadeWindow_ ? fadeWindow_->platformHandle() : 0;
}

void WebView::setFadeColorWindowRect(int x, int y, int width, int height) {
  if (fadeWindow_) fadeWindow_->setWindowRectangle({x, y, width, height});
}

void WebView::setFadeWindowColor(int first, int second, int third, int fourth) {
  const auto byte = [](int value) { return static_cast<std::uint8_t>(value); };
  fadeColor_ = {byte(first), byte(third), byte(second), byte(fourth)};
}

void WebView::setGeometry(int x, int y, int width, int height) {
  setViewport({x, y, width, height});
}

void WebView::setLayerTilerPrefillRect(int x, int y, int width, int height) {
  Settings::instance().setLayerTilerPrefillRect({x, y, width, height});
}

WebView::String WebView::convertIDNtoReadableStringByLanguage(const String& host,
                                                              const String& language) const {
  return Tessel::Platform::idnToReadableUtf8String(
      host, language.isEmpty() ? LocaleHandler::instance().language() : language);
}

void WebView::cancelVibration() {
  TesselPlatformVibrate::vibrate(0, 0.0);
}

WebView::String WebView::eventNames() const {
  return eventNamesCatalogue();
}

int WebView::screenWindowHandle() const {
  return lookUpWindow(windowUniqueId());
}

int WebView::lookUpWindow(const String& uniqueId) {
  return windowLookup ? windowLookup(uniqueId.toStdString()) : 0;
}

void WebView::installWindowLookup(WindowLookup lookup) {
  windowLookup = lookup;
}

void WebView::printToStdout(const String& text) {
  std::fputs(text.utf8(), stdout);
  // Flush for readers at the other end of a pipe.
  std::fflush(stdout);
}

void WebView::printToStderr(const String& text) {
  std::fputs(text.utf8(), stderr);
}

void WebView::log(const String& text) {
  logAlways(LogNotice, "%s", text.utf8());
}

void WebView::setCapabilities(Capabilities capabilities) {
  capabilities_ = std::move(capabilities);
  bindOrvJavaScriptObject(nativeBindingsEnabled_, capabilities_.origins());
}

void WebView::callNativeFunction(OrvWebJavaScriptCallbackEvent& call) {
  if (capabilities_.allow(call)) return BindingManager::instance().dispatch(&call);
  WebViewManager::instance().informChromeOfError(concat("Native function: \"", call.args()[0],
                                                        "\" may not be called by \"",
                                                        call.callerOrigin(), "\"."));
}

void WebView::navigationRefused(const String& url) {
  WebViewManager::instance().informChromeOfError(
      concat("WebView: ", String::fromUnsignedInteger(handle_), " does not go to \"", url,
             "\": it has native functions, and the program has not loaded that."));
}

bool WebView::isAliveSince(std::chrono::steady_clock::duration time) {
  const auto now = std::chrono::steady_clock::now();
  if (!askWhetherAlive()) lastAlive_.reset();
  if (!lastAlive_) lastAlive_ = now;
  return now - *lastAlive_ < time;
}

OrvWebView* WebView::makeOwnWindow() {
  return WebViewManager::instance().createOwnWebView(windowGroup_);
}

void WebView::drivingProcessEnded() {
  WebViewManager::instance().chromeLost();
}

void WebView::drivingDocumentLoaded() {
  WebViewManager::instance().chromeLoaded();
}

void WebView::problem(const String& text) {
  WebViewManager::instance().noteProblem(text);
}

void WebView::gaveUp() {
  logAlways(LogError, "The chrome's process has ended too often: the program ends.");
  Tessel::Platform::MainMessageClient::instance()->exit(chromeFailedStatus);
}

void WebView::retryScheduled(const OrvWebRetry& retry) {
  post(EventType::ReloadScheduled, fields::textOf(retry));
}

void WebView::memoryExceeded(const OrvWebMemoryExcess& excess) {
  post(EventType::MemoryExceeded, fields::textOf(excess));
}

void WebView::processStarted(int pid) {
  post(EventType::WebProcess, String::fromSignedInteger(pid));
}

void WebView::handleWebEvent(OrvWebEvent* event) {
  // The chrome may delete this web view inside its event handler.
  const GuardedPin<WebView> pin(this);
  WebViewManager& manager = WebViewManager::instance();
  if (nativeBindingsEnabled_ && event->type() == OrvWebEvent::JavaScriptCallback) {
    callNativeFunction(*static_cast<OrvWebJavaScriptCallbackEvent*>(event));
  } else if (manager.rootWebView()) {
    forwardWebEvent(*this, *event, *this);
  }
  const unsigned int handle = manager.handleForWebView(this);
  if (handle == 0) return;
  eventHandled(event);
  if (event->type() == OrvWebEvent::Destroyed) manager.finishClosing(handle);
}

void WebView::post(EventType event, const String& data) {
  WebViewManager::instance().postEvent(handle_, event, data);
}

WebView::String WebView::send(EventType event, const String& data) {
  return WebViewManager::instance().sendEvent(handle_, event, data);
}
