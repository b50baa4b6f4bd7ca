// How the program talks to the chrome. Main thread or web-engine thread.
#include "registry/ChromeChannel.h"

#include "platform/base/ErrorReport.h"
#include "platform/base/Log.h"

using Tessel::Platform::concat;
using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::reportError;
using Tessel::Platform::String;

namespace {

const std::vector<String>& eventFunction() {
  static const auto* path = new std::vector<String>{"chrome", "internal", "webEvent"};
  return *path;
}

const std::vector<String>& errorFunction() {
  static const auto* path = new std::vector<String>{"chrome", "native", "error"};
  return *path;
}

std::vector<JavaScriptVariant> envelope(const String& name, const String& data, unsigned int handle,
                                        int integer) {
  return {static_cast<double>(handle), name, data, integer};
}

// What no call can carry is not sent; the chrome hears so instead.
bool fits(const String& name, const String& data, unsigned int handle) {
  const std::size_t size = name.length() + data.length();
  if (size <= OrvWebView::largestCall) return true;
  reportError(concat("Event \"", name, "\" of web view ", String::fromUnsignedInteger(handle),
                     " is too large and is not sent: ", String::fromUnsignedInteger(size),
                     " bytes."));
  return false;
}

String answerText(const JavaScriptVariant& value) {
  switch (value.type()) {
    case JavaScriptVariant::Number:
      return String::fromNumber(value.numberValue());
    case JavaScriptVariant::Text:
      return value.stringValue();
    case JavaScriptVariant::Boolean:
      return value.booleanValue() ? "true" : "false";
    default:
      return String();
  }
}

}  // namespace

void sendChromePostEvent(OrvWebView* chrome, const String& name, const String& data,
                         unsigned int handle, int integer) {
  if (!chrome) {
    logAlways(LogError, "WebView::sendChromePostEvent: webView doesn't exist, can't send event!");
    return;
  }
  if (!fits(name, data, handle)) return;
  chrome->executeJavaScriptFunction(eventFunction(), envelope(name, data, handle, integer));
}

String sendChromeSendEvent(OrvWebView* chrome, const String& name, const String& data,
                           unsigned int handle, int integer) {
  if (!chrome) {
    logAlways(LogError, "WebView::sendChromeSendEvent: webView doesn't exists, can't send event!");
    return String();
  }
  if (!fits(name, data, handle)) return String();
  return answerText(chrome->executeJavaScriptFunctionSync(eventFunction(),
                                                          envelope(name, data, handle, integer)));
}

void sendChromeError(OrvWebView& chrome, const String& message) {
  // With an argument in it, it can be longer than what brought the argument.
  const std::string_view text = message.view().substr(0, OrvWebView::largestCall);
  chrome.executeJavaScriptFunction(errorFunction(), {String(text)});
}
