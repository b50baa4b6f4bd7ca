// What --dev adds for the developer of a chrome: it is loaded again when its files change, its
// console is printed, what is wrong with it is shown in the window, and it can be inspected.
// Main thread.
#pragma once

#include "platform/graphics/gtk/MessagePanel.h"
#include "src/FolderWatch.h"

#include <string>

class ApplicationWindow;
class WebView;

class Development {
 public:
  // Of the chrome in that folder; the web view and the window outlive it.
  Development(WebView& chrome, ApplicationWindow& window, const std::string& folder);
  ~Development();
  Development(const Development&) = delete;
  Development& operator=(const Development&) = delete;

 private:
  WebView& chrome_;
  Tessel::Platform::Graphics::MessagePanel panel_;
  FolderWatch watch_;
};
