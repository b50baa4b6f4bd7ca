// What the modules of the navigator share. UI thread.
#include "bindings/NavigatorCall.h"

#include "webview/WebView.h"

#include <cstdlib>

namespace navigator {

const char* argumentAt(const OrvWebJavaScriptCallbackEvent& event, unsigned int index) {
  const char* text = index < event.numArgs() ? event.args()[index] : nullptr;
  return text ? text : "";
}

unsigned long numberAt(const OrvWebJavaScriptCallbackEvent& event, unsigned int index) {
  return std::strtoul(argumentAt(event, index), nullptr, 10);
}

void tellChrome(const Tessel::Platform::GuardedPointer<WebView>& chrome, const char* space,
                const char* event, const std::vector<JavaScriptVariant>& arguments, bool waits) {
  const Tessel::Platform::GuardedPin<WebView> view(chrome);
  if (!view) return;
  const std::vector<String> function{"chrome", "internal", space, event};
  if (waits) {
    view->executeJavaScriptFunctionSync(function, arguments);
  } else {
    view->executeJavaScriptFunction(function, arguments);
  }
}

String withHyphen(const String& locale) {
  std::string text = locale.toStdString();
  const std::size_t place = text.find('_');
  if (place != std::string::npos) text[place] = '-';
  return text;
}

}  // namespace navigator
