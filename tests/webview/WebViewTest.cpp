// The program's web view: headers, its companion window and its native calls.
#include "tests/support/ChromeFixture.h"
#include "webview/WebView.h"

namespace {

using Tessel::Platform::IntRect;
using Tessel::Platform::Graphics::Color;
using Tessel::Platform::Graphics::MemoryWindowSystem;
using Tessel::Platform::Graphics::Sensitivity;
using Tessel::Platform::Graphics::Window;
using Tessel::Platform::Graphics::WindowSystem;
using test_support::inOwnProcess;
using test_support::surfaceOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class WebViewTest : public test_support::ChromeFixture {
 protected:
  // The page's extra headers as "key: value".
  std::vector<std::string> headers() {
    std::vector<std::string> list;
    for (const OrvWebHeader& header : itsPage->headers) {
      list.push_back(concat(header.key(), ": ", header.value()).toStdString());
    }
    return list;
  }
  Window* fadeWindow() { return Window::fromPlatformHandle(view.fadeColorWindowPlatformHandle()); }

  const unsigned int handle = createWebView();
  WebView& view = webView(handle);
  const std::shared_ptr<test_support::FakePage> itsPage = pageOf(handle);
};

TEST_F(WebViewTest, ExtraHeadersAreTheMembersOfTheObjectInTheirOrder) {
  EXPECT_EQ(view.extraHttpHeaders(), "{}");
  const std::string json =
      R"({"Z":"last \"first\"","A":"\u00e4","N":7,"F":1.5,"B":true,"X":null,"L":["1"],"O":{}})";
  EXPECT_TRUE(view.setExtraHttpHeaders(json));
  EXPECT_THAT(headers(), ElementsAre("Z: last \"first\"", "A: \xc3\xa4", "N: 7", "F: 1.5",
                                     "B: true", "X: null"));
  EXPECT_EQ(view.extraHttpHeaders(), json);
  EXPECT_TRUE(view.setExtraHttpHeaders(" {} "));
  EXPECT_THAT(headers(), IsEmpty());
}

TEST_F(WebViewTest, RefusedExtraHeadersLeaveThoseInForce) {
  ASSERT_TRUE(view.setExtraHttpHeaders(R"({"A":"1"})"));
  for (const char* bad : {"", "{\"A\":\"2\"", "{\"A\":\"2\"} x", "A: 2"}) {
    EXPECT_FALSE(view.setExtraHttpHeaders(bad));
    EXPECT_THAT(errors(), ElementsAre("WebView::setExtraHttpHeaders json parsing failed.")) << bad;
  }
  for (const char* other : {"[{\"A\":\"2\"}]", "null", "\"A\"", "2"}) {
    EXPECT_FALSE(view.setExtraHttpHeaders(other));
    EXPECT_THAT(errors(), ElementsAre("WebView::setExtraHttpHeaders json is not an object."));
  }
  EXPECT_THAT(headers(), ElementsAre("A: 1"));
  EXPECT_EQ(view.extraHttpHeaders(), R"({"A":"1"})");
  // However deep, a value that is no text is left out.
  const std::string deep = std::string(200000, '[') + std::string(200000, ']');
  inOwnProcess([&] {
    EXPECT_TRUE(view.setExtraHttpHeaders("{\"A\":" + deep + ",\"B\":\"1\"}"));
    EXPECT_THAT(headers(), ElementsAre("B: 1"));
  });
}

TEST_F(WebViewTest, NativeBindingsSendCallsToTheRegistryInsteadOfTheChrome) {
  const auto call = [&] { return itsPage->raise(Callback({"no.such", "a"})).result(); };
  page->answer = [](const FunctionCall&) {
    return JavaScriptVariant("{\"setResult\":\"chrome\"}");
  };
  EXPECT_EQ(call(), "") << "not even raised";
  // Either way the page can make calls from now on.
  view.enableNativeBindings(false);
  EXPECT_TRUE(itsPage->callbackObjectEnabled);
  EXPECT_EQ(call(), "chrome");
  EXPECT_THAT(errors(), IsEmpty());

  view.enableNativeBindings(true);
  EXPECT_EQ(call(), "");
  EXPECT_THAT(errors(), ElementsAre("Binding for native function: \"no.such\" does not exist."));
}

TEST_F(WebViewTest, FadeWindowIsOneTransparentColouredWindowInTheGroup) {
  EXPECT_EQ(view.fadeColorWindowPlatformHandle(), 0);
  view.setFadeColorWindowRect(1, 1, 1, 1);  // there is none to place
  view.setFadeWindowColor(1, 2, 3, 260);
  const int made = view.createFadeColorWindow(10, 20, 300, 40, 5);
  EXPECT_EQ(view.fadeColorWindowPlatformHandle(), made);
  ASSERT_TRUE(fadeWindow());
  EXPECT_EQ(fadeWindow()->windowGroup(), group);
  auto& surface = surfaceOf(*fadeWindow());
  // The second and the third component change places.
  EXPECT_EQ(surface.color, (Color{1, 3, 2, 4}));
  EXPECT_THAT(surface.posts, ElementsAre(IntRect{0, 0, 1, 1}));
  EXPECT_EQ(surface.state.rect, (IntRect{10, 20, 300, 40}));
  EXPECT_EQ(surface.state.globalAlpha, 0);
  EXPECT_EQ(surface.state.sensitivity, Sensitivity::Never);

  // The one that is there stays as it is.
  view.setFadeWindowColor(9, 9, 9, 9);
  EXPECT_EQ(view.createFadeColorWindow(0, 0, 1, 1, 0), made);
  EXPECT_EQ(surface.state.rect, (IntRect{10, 20, 300, 40}));
  EXPECT_EQ(surface.color, (Color{1, 3, 2, 4}));

  view.destroyFadeColorWindow();
  view.destroyFadeColorWindow();
  EXPECT_EQ(Window::fromPlatformHandle(made), nullptr);
  auto& windows = static_cast<MemoryWindowSystem&>(WindowSystem::current());
  windows.full = true;
  EXPECT_EQ(view.createFadeColorWindow(0, 0, 1, 1, 0), 0);
  windows.full = false;
  EXPECT_EQ(view.fadeColorWindowPlatformHandle(), 0);
  const int next = view.createFadeColorWindow(0, 0, 1, 1, 0);
  manager.destroyWebView(handle);
  EXPECT_EQ(Window::fromPlatformHandle(next), nullptr) << "it goes with its web view";
}

}  // namespace
