// The native side with a chrome: web view 1 on a page without an engine, whose native calls go to
// the registry and whose chrome.* functions remember what they are called with. Main thread.
//
// Handles are never reused and web view 1 exists once per process. It is made with the first
// fixture and kept: tests leave it as it is, or change it inOwnProcess.
#pragma once

#include "platform/graphics/MemoryWindowSystem.h"
#include "platform/graphics/Window.h"
#include "platform/loop/MessageClient.h"
#include "tests/support/FakePage.h"
#include "tests/support/OwnProcess.h"
#include "tests/support/Waiting.h"
#include "webview/WebView.h"
#include "webview/WebViewManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace test_support {

// What a main client's loop ends with; -1 when it does not end within the deadline.
int exitStatusOf(Tessel::Platform::MainMessageClient& client);

// A top-level window that lives as long as the process.
Tessel::Platform::Graphics::Window& topLevelWindow(const char* group);
inline Tessel::Platform::Graphics::MemoryWindowSystem::Surface& surfaceOf(
    Tessel::Platform::Graphics::Window& window) {
  using Surface = Tessel::Platform::Graphics::MemoryWindowSystem::Surface;
  return static_cast<Surface&>(*window.surface());
}

class ChromeFixture : public ::testing::Test {
 public:
  using String = Tessel::Platform::String;
  using Event = OrvWebEvent;
  using Callback = OrvWebJavaScriptCallbackEvent;
  static constexpr const char* group = "chrome";

  ChromeFixture();
  ~ChromeFixture() override;

  // Calls a native function as the chrome does; the first argument is its name.
  std::string callNative(std::vector<const char*> arguments) {
    return page->raise(Callback(std::move(arguments))).result().toStdString();
  }
  // What chrome.native.error was called with since the last call, and events likewise, each as
  // "handle name data" or "handle name".
  std::vector<std::string> errors();
  std::vector<std::string> events();
  // Likewise those of chrome.internal.windowAnimations, each as "name number" or "name".
  std::vector<std::string> animationEvents();

  // A web view that has reported that it exists; it goes with the fixture at the latest.
  unsigned int createWebView();
  WebView& webView(unsigned int handle) { return *manager.webViewForHandle(handle); }
  std::shared_ptr<FakePage> pageOf(unsigned int handle) {
    return FakePageFactory::instance().pageOf(webView(handle));
  }

  Tessel::Platform::MainMessageClient client{0, -1};
  WebViewManager& manager = WebViewManager::instance();
  WebView* const root;
  const std::shared_ptr<FakePage> page;  // the root's

 private:
  // Takes the calls of chrome.<function>.
  std::vector<FunctionCall> takeCalls(const std::vector<String>& path);

  std::vector<unsigned int> created_;
};

}  // namespace test_support
