// What --dev adds for the developer of a chrome. Main thread.
#include "src/Development.h"

#include "platform/base/Log.h"
#include "platform/graphics/gtk/GtkWindowSystem.h"
#include "src/ApplicationWindow.h"
#include "webview/WebInspectorClient.h"
#include "webview/WebView.h"
#include "webview/WebViewManager.h"

#include <cstdlib>

using Tessel::Platform::logAlways;
using Tessel::Platform::LogNotice;
using Tessel::Platform::String;

Development::Development(WebView& chrome, ApplicationWindow& window, const std::string& folder)
    : chrome_(chrome), panel_(window), watch_(folder, [this] {
        logAlways(LogNotice, "The chrome has changed and is loaded again.");
        panel_.clear();
        chrome_.reload();
      }) {
  WebViewManager& manager = WebViewManager::instance();
  manager.watchProblems([this](const String& text) { panel_.show(text.toStdString()); });
  chrome_.setEnableConsoleLogging(true);
  chrome_.setWebInspectorEnabled(true);
  // The log tells the address.
  manager.inspector().switchServer(true);
  logAlways(LogNotice, "Development: %s is loaded again whenever a file in it changes.",
            folder.c_str());
  // Without a window manager its window would lie over the chrome for good.
  if (Tessel::Platform::Graphics::GtkWindowSystem::hasManager(window)) {
    chrome_.handleContextMenuResponse(OrvWebContextMenuItem::InspectElement);
  }
}

Development::~Development() {
  WebViewManager::instance().watchProblems(nullptr);
}
