// The native side with a chrome. Main thread.
#include "tests/support/ChromeFixture.h"

#include "webview/commands/CommandTable.h"

#include <glib.h>

using Tessel::Platform::MainMessageClient;
using Tessel::Platform::Graphics::Window;
using Tessel::Platform::Graphics::WindowType;

namespace test_support {

namespace {

constexpr unsigned int deadlineSeconds = 20;

WebView* theRoot(const char* group) {
  static WebView* root = [group] {
    FakePageFactory::instance();
    topLevelWindow(group);
    registerCommands(BindingManager::instance());
    WebViewManager& manager = WebViewManager::instance();
    WebView* made = manager.webViewForHandle(manager.createWebView(group, 0));
    made->enableNativeBindings(true);
    turnLoop();
    return made;
  }();
  return root;
}

}  // namespace

int exitStatusOf(MainMessageClient& client) {
  const auto giveUp = [](gpointer data) -> gboolean {
    static_cast<MainMessageClient*>(data)->exit(-1);
    return G_SOURCE_CONTINUE;
  };
  const guint tooLate = g_timeout_add_seconds(deadlineSeconds, giveUp, &client);
  const int status = client.run();
  g_source_remove(tooLate);
  return status;
}

Window& topLevelWindow(const char* group) {
  Window* window = Window::topLevelOf(group);
  return window ? *window
                : *new Window(WindowType::Application, nullptr, {0, 0, 800, 600}, {}, {}, 0, false,
                              group);
}

ChromeFixture::ChromeFixture()
    : root(theRoot(group)), page(FakePageFactory::instance().pageOf(*root)) {
  page->posted.clear();
  page->called.clear();
}

ChromeFixture::~ChromeFixture() {
  for (const unsigned int handle : created_) manager.destroyWebView(handle);
  page->answer = nullptr;
}

std::vector<FunctionCall> ChromeFixture::takeCalls(const std::vector<String>& path) {
  std::vector<FunctionCall> taken;
  std::erase_if(page->posted, [&](const FunctionCall& call) {
    if (call.path == path) taken.push_back(call);
    return call.path == path;
  });
  return taken;
}

std::vector<std::string> ChromeFixture::errors() {
  std::vector<std::string> texts;
  for (const FunctionCall& call : takeCalls({"chrome", "native", "error"})) {
    texts.push_back(call.arguments.at(0).stringValue().toStdString());
  }
  return texts;
}

std::vector<std::string> ChromeFixture::events() {
  std::vector<std::string> texts;
  for (const FunctionCall& call : takeCalls({"chrome", "internal", "webEvent"})) {
    const String data = call.arguments.at(2).stringValue();
    texts.push_back(concat(String::fromNumber(call.arguments.at(0).numberValue()), " ",
                           call.arguments.at(1).stringValue(), data.isEmpty() ? "" : " ", data)
                        .toStdString());
  }
  return texts;
}

std::vector<std::string> ChromeFixture::animationEvents() {
  std::vector<std::string> texts;
  for (const char* name : {"onWindowAnimationFinished", "onDragTouchRelease"}) {
    for (const FunctionCall& call :
         takeCalls({"chrome", "internal", "windowAnimations", String(name)})) {
      std::string& text = texts.emplace_back(name);
      for (const JavaScriptVariant& argument : call.arguments) {
        text += " " + String::fromNumber(argument.numberValue()).toStdString();
      }
    }
  }
  return texts;
}

unsigned int ChromeFixture::createWebView() {
  const unsigned int handle = manager.createWebView(group, WebViewManager::inThisProcess);
  created_.push_back(handle);
  turnLoop();
  EXPECT_TRUE(manager.isCreated(handle));
  events();
  return handle;
}

}  // namespace test_support
