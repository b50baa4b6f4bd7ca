// The real engine in the process of a test or a benchmark. Main thread.
#include "tests/support/RealEngine.h"

#include "platform/graphics/gtk/GtkWindowSystem.h"
#include "tests/support/Waiting.h"

#include <algorithm>

using Tessel::Platform::MainMessageClient;
using Tessel::Platform::Graphics::GtkWindowSystem;
using Tessel::Platform::Graphics::Window;
using Tessel::Platform::Graphics::WindowSystem;
using Tessel::Platform::Graphics::WindowType;

namespace test_support {

void ScriptedView::handleWebEvent(OrvWebEvent* event) {
  events.push_back(event->type());
  if (event->type() != OrvWebEvent::JavaScriptCallback || !native) return;
  auto& call = static_cast<OrvWebJavaScriptCallbackEvent&>(*event);
  std::vector<std::string> arguments;
  for (unsigned int i = 0; i < call.numArgs(); ++i) {
    arguments.emplace_back(call.args()[i] ? call.args()[i] : "(null)");
  }
  call.setResult(native(arguments));
}

RealEngine* RealEngine::instance(std::string& problem) {
  static RealEngine* started = nullptr;
  static std::string whyNot;
  static const bool once = [] {
    auto windows = GtkWindowSystem::create();
    if (!windows) {
      whyNot = "there is no display";
      return false;
    }
    WindowSystem::install(std::move(windows));
    auto* self = new RealEngine;
    self->client_ = std::make_unique<MainMessageClient>(3, -1);
    // The same as in the program.
    auto sandbox = Tessel::Platform::PageSandbox::None;
    if (!choosePageSandbox({Tessel::Platform::runtimeFolder()}, sandbox, whyNot)) return false;
    self->engine_ = WebKitEngine::create({.moduleFolder = PAGEHOST_TEST_MODULES,
                                          .local = {.shared = PAGEHOST_TEST_ROOT},
                                          .dataName = "tests",
                                          .sandbox = sandbox},
                                         whyNot);
    if (!self->engine_) return false;
    PageFactory::install(self->engine_.get());
    self->window_ = std::make_unique<Window>(
        WindowType::Application, nullptr, Tessel::Platform::IntRect{0, 0, 800, 600},
        Tessel::Platform::IntRect{}, Tessel::Platform::IntSize{}, 0, false,
        Tessel::Platform::String("tests"));
    started = self;
    return true;
  }();
  static_cast<void>(once);
  problem = whyNot;
  return started;
}

std::unique_ptr<ScriptedView> RealEngine::openPage(const std::string& html,
                                                   ScriptedView::Native native,
                                                   bool drivesApplication) {
  auto view = std::make_unique<ScriptedView>();
  view->native = std::move(native);
  if (!view->initialize("tests", 0)) return nullptr;
  if (drivesApplication) view->setDrivesApplication("");
  view->loadString(html, "text/html");
  const auto loaded = [&] {
    return std::count(view->events.begin(), view->events.end(), OrvWebEvent::DocumentLoadFinished) >
           0;
  };
  return runUntil(loaded) ? std::move(view) : nullptr;
}

bool RealEngine::runUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
  return Tessel::Platform::Testing::iterateUntil(condition, limit);
}

}  // namespace test_support
