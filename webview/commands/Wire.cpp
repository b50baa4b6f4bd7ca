// The way of a web view across processes. UI thread.
#include "webview/commands/Wire.h"

#include "webview/WebView.h"
#include "webview/WebViewManager.h"

namespace commands {

bool Wire<OrvWebView*>::decode(const Field& field, OrvWebView*& value) {
  const auto handle = static_cast<unsigned int>(std::strtoul(field.data(), nullptr, 10));
  value = WebViewManager::instance().webViewForHandle(handle);
  return true;
}

}  // namespace commands
