// How the program talks to the chrome. Main thread or web-engine thread.
#include "bindings/ChromeChannel.h"

#include "platform/Log.h"

using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
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
  chrome->executeJavaScriptFunction(eventFunction(), envelope(name, data, handle, integer));
}

String sendChromeSendEvent(OrvWebView* chrome, const String& name, const String& data,
                           unsigned int handle, int integer) {
  if (!chrome) {
    logAlways(LogError, "WebView::sendChromeSendEvent: webView doesn't exists, can't send event!");
    return String();
  }
  return answerText(chrome->executeJavaScriptFunctionSync(eventFunction(),
                                                          envelope(name, data, handle, integer)));
}

void sendChromeError(OrvWebView& chrome, const String& message) {
  chrome.executeJavaScriptFunction(errorFunction(), {message});
}
