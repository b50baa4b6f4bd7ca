// The program's web view: headers, arguments and its text outputs.
#include "platform/Settings.h"
#include "tests/platform/StandardErrorPipe.h"
#include "tests/support/ChromeFixture.h"
#include "webview/WebView.h"

namespace {

using test_support::inOwnProcess;
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
}

TEST_F(WebViewTest, DeepNestingInAnExtraHeaderIsHarmless) {
  constexpr std::size_t depth = 200000;
  const std::string deep = std::string(depth, '[') + std::string(depth, ']');
  inOwnProcess([&] {
    EXPECT_TRUE(view.setExtraHttpHeaders("{\"A\":" + deep + ",\"B\":\"1\"}"));
    EXPECT_THAT(headers(), ElementsAre("B: 1"));
  });
}

TEST_F(WebViewTest, ArgumentsAreAJsonArrayOfTexts) {
  EXPECT_EQ(view.arguments(), "");
  std::string texts[] = {"/bin/pagehost", "a \"b\" \\ \n\x01\xc3\xa4", ""};
  char* arguments[] = {texts[0].data(), texts[1].data(), texts[2].data(), nullptr};
  view.setArguments(3, arguments);
  EXPECT_EQ(view.arguments(), "[\"/bin/pagehost\",\"a \\\"b\\\" \\\\ \\n\\u0001\xc3\xa4\",\"\"]");
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

}  // namespace
