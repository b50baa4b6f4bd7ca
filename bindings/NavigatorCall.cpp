// What the modules of the navigator share. UI thread.
#include "bindings/NavigatorCall.h"

#include "webview/WebView.h"

namespace navigator {

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
