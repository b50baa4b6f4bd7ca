// The native side with a fake chrome: web view 1 on a page without an engine, whose native calls go
// to the registry and whose chrome.* functions record their calls. Main thread.
//
// Handles are never reused and web view 1 exists once per process. It is created with the first
// fixture and kept: tests must not change it, except inOwnProcess.
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

// The exit code of a main client's loop; -1 if it does not end within the deadline.
int exitStatusOf(Tessel::Platform::MainMessageClient& client);

// A top-level window that lives until the process exits.
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
  // The calls of chrome.native.error since the last call; likewise events, as "handle name data" or
  // "handle name".
  std::vector<std::string> errors();
  std::vector<std::string> events();
  // Likewise the calls of chrome.internal.windowAnimations, as "name number" or "name".
  std::vector<std::string> animationEvents();

  // A web view that has reported Created; destroyed with the fixture at the latest.
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
  // Returns and clears the recorded calls of chrome.<function>.
  std::vector<FunctionCall> takeCalls(const std::vector<String>& path);

  std::vector<unsigned int> created_;
};

}  // namespace test_support
