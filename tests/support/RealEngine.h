// The real engine in the process of a test or benchmark: a window, web views with pages, and a main
// loop that runs until a condition holds. Needs a display. Main thread.
#pragma once

#include "engine/OrvWebView.h"
#include "engine/webkit/WebKitEngine.h"
#include "platform/graphics/Window.h"
#include "platform/loop/MessageClient.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace test_support {

// A web view whose native calls are passed to a function.
class ScriptedView final : public OrvWebView {
 public:
  using Native = std::function<String(const std::vector<std::string>& arguments)>;

  Native native;
  std::vector<OrvWebEvent::Type> events;

  // Calls a function of the page with numbers or texts and waits for the result.
  JavaScriptVariant call(const char* function, std::vector<JavaScriptVariant> arguments = {}) {
    return executeJavaScriptFunctionSync({function}, arguments);
  }

 private:
  void handleWebEvent(OrvWebEvent* event) override;
};

// One per process: the toolkit and the engine start once.
class RealEngine {
 public:
  // Null, with the reason in `problem`, without a display or an engine.
  static RealEngine* instance(std::string& problem);

  // A loaded page with that HTML in a web view that covers the window. Null if it does not load.
  std::unique_ptr<ScriptedView> openPage(const std::string& html, ScriptedView::Native native = {},
                                         bool drivesApplication = true);

  // Runs the main loop until the condition holds; false at the time limit.
  static bool runUntil(const std::function<bool()>& condition,
                       std::chrono::milliseconds limit = std::chrono::seconds(30));

 private:
  RealEngine() = default;

  std::unique_ptr<Tessel::Platform::MainMessageClient> client_;
  std::unique_ptr<WebKitEngine> engine_;
  std::unique_ptr<Tessel::Platform::Graphics::Window> window_;
};

}  // namespace test_support
