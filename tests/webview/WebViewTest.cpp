// The program's web view: headers and its native calls.
#include "tests/support/ChromeFixture.h"
#include "webview/WebView.h"

namespace {

using test_support::inOwnProcess;
using ::testing::ElementsAre;

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

}  // namespace
