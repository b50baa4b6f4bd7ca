// Applies a web view's settings to the engine's view. Main thread.
#pragma once

#include "engine/WebViewSettings.h"

#include <webkit2/webkit2.h>

#include <string>
#include <vector>

class PageContext;

class PageSettings {
 public:
  using String = Tessel::Platform::String;

  // The engine's settings of a view that is to be made.
  static WebKitSettings* make(const WebViewSettings& values);

  PageSettings(PageContext& page, WebKitWebView* view);
  ~PageSettings();
  PageSettings(const PageSettings&) = delete;
  PageSettings& operator=(const PageSettings&) = delete;

  // Whether it is a valid user agent for the engine.
  static bool takesUserAgent(const String& text);
  void changed(WebViewSetting setting);
  void setAllowedOrigins(std::vector<String> patterns);
  // Whether some origin may not be read any more. A web process never forgets what it was allowed,
  // so only another view heeds it.
  bool originsTakenBack() const { return originsTakenBack_; }

 private:
  static void apply(WebKitSettings* settings, WebViewSetting setting,
                    const WebViewSettings& values);
  void applyToView(WebViewSetting setting, const WebViewSettings& values);
  void applyStyles(const WebViewSettings& values);
  void applyOrigins();
  // The text of a style sheet: a file, a local: address or a data: address. False when there is
  // none, and the log says why.
  bool readStyleSheet(const String& location, std::string& text) const;

  PageContext& page_;
  WebKitWebView* view_;
  WebKitInputMethodContext* inputMethods_;  // the view's own; kept while it is switched off
  std::vector<String> allowedOrigins_;
  std::vector<String> appliedOrigins_;  // those, or the pattern of all
  bool originsTakenBack_ = false;
};
