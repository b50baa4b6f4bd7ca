// The program's web view: headers and native calls.
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
  EXPECT_EQ(view.extraHttpHeaders(),
            R"({"Z":"last \"first\"","A":"ä","N":"7","F":"1.5","B":"true","X":"null"})");
  // Invalid headers are not reported as set.
  EXPECT_TRUE(view.setExtraHttpHeaders(
      R"({"A":"1","a":"2","B c":"3","":"4","D":"5\r\nE: 6","F":"\u0000","G":1e21})"));
  EXPECT_EQ(view.extraHttpHeaders(), R"({"a":"2","G":"1e+21"})");
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
  // Values that are not texts are dropped, at any depth.
  const std::string deep = std::string(200000, '[') + std::string(200000, ']');
  inOwnProcess([&] {
    EXPECT_TRUE(view.setExtraHttpHeaders("{\"A\":" + deep + ",\"B\":\"1\"}"));
    EXPECT_THAT(headers(), ElementsAre("B: 1"));
  });
}

}  // namespace
