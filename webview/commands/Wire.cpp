// The way of a web view across processes. UI thread.
#include "webview/commands/Wire.h"

#include "webview/WebView.h"
#include "webview/WebViewManager.h"

namespace commands {

bool Wire<OrvWebView*>::decode(const Field& field, OrvWebView*& value) {
  unsigned int handle = 0;
  if (!Value<unsigned int>::parse(field.data(), handle)) return false;
  value = WebViewManager::instance().webViewForHandle(handle);
  return true;
}

}  // namespace commands
