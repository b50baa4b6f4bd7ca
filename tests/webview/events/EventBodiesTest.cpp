// The exact bodies of events with every kind of value, and notifications of changed properties.
#include "engine/OrvWebEvents.h"
#include "engine/OrvWebView.h"
#include "tests/support/ChromeFixture.h"
#include "webview/events/EventForwarding.h"

#include <limits>
#include <utility>

namespace {

using Changed = OrvWebPropertyChangedEvent;
using Tessel::Platform::String;
using ::testing::ElementsAre;

std::string bodyOf(const OrvWebEvent& event) {
  return jsonFromObject(event).toStdString();
}
// The text of one key of a body, up to the next one or the end.
std::string memberOf(const OrvWebEvent& event, const std::string& key) {
  const std::string body = bodyOf(event);
  const auto start = body.find("\"" + key + "\":");
  if (start == std::string::npos) return "no " + key + " in " + body;
  const auto value = start + key.size() + 3;
  const auto next = body.find(",\"", value);
  return body.substr(value, (next == std::string::npos ? body.size() - 1 : next) - value);
}

class RememberingSink final : public EventSink {
 public:
  void post(EventType event, const String& data) override { note("post", event, data); }
  String send(EventType event, const String& data) override {
    note("send", event, data);
    return {};
  }
  std::vector<std::string> trace;

 private:
  void note(const char* delivery, EventType event, const String& data) {
    trace.push_back(concat(delivery, " ", nameOf(event), " ", data).toStdString());
  }
};

TEST(EventBodiesTest, TextsAreEscapedAndOtherwiseKeptByteForByte) {
  const std::pair<std::string, std::string> texts[]{
      {"", R"("")"},
      {"a \"b\" \\c/ '", R"("a \"b\" \\c/ '")"},
      {std::string("\0\x01\b\t\n\v\f\r\x1f\x7f", 10),
       "\"\\u0000\\u0001\\b\\t\\n\\u000B\\f\\r"
       "\\u001F\x7f\""},
      {std::string("cut\0here\0", 9), R"("cut\u0000here\u0000")"},
      {"\xc3\xa4\xe2\x80\xa8\xf0\x9f\x98\x80", "\"\xc3\xa4\xe2\x80\xa8\xf0\x9f\x98\x80\""},
      // Not valid UTF-8.
      {"\xff\xc3 \x80", "\"\xff\xc3 \x80\""},
      {"</script>{\"type\":\"Focus\"}", R"("</script>{\"type\":\"Focus\"}")"},
  };
  for (const auto& [text, written] : texts) {
    OrvWebInspectorMessageEvent event;
    event.message = String(text);
    EXPECT_EQ(bodyOf(event), R"({"isPost":true,"isSend":false,"message":)" + written +
                                 R"(,"type":"InspectorMessage"})");
    OrvWebUserMediaRequestEvent list;
    list.cameras = {String(text)};
    EXPECT_EQ(memberOf(list, "cameras"), "[" + written + "]");
  }
}

TEST(EventBodiesTest, CStringsEndAtTheirFirstZeroByteAndMayBeMissing) {
  OrvWebNetworkResourceDataReceivedEvent received;
  received.data = "a\"b\0c";
  EXPECT_EQ(memberOf(received, "data"), R"("a\"b")");
  received.data = nullptr;
  EXPECT_EQ(memberOf(received, "data"), R"("")");
}

TEST(EventBodiesTest, NumbersAreWrittenInFullOrAreNull) {
  OrvWebDownloadProgressEvent progress;
  progress.downloadId = 4294967295u;
  progress.downloadedSize = 4294967296u;
  progress.totalSize = std::numeric_limits<std::uint64_t>::max();
  EXPECT_EQ(bodyOf(progress), R"({"downloadId":4294967295,"downloadedSize":4294967296,)"
                              R"("isPost":true,"isSend":false,"totalSize":18446744073709551615,)"
                              R"("type":"DownloadProgress"})");
  OrvWebFullScreenVideoStartedEvent video;
  video.width = std::numeric_limits<int>::min();
  EXPECT_EQ(memberOf(video, "width"), "-2147483648");
  OrvWebJavaScriptFunctionResultEvent result;
  for (const double value :
       {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
    result.result = JavaScriptVariant(value);
    EXPECT_EQ(memberOf(result, "result"), "null");
  }
}

TEST(EventBodiesTest, UnknownNumbersAreWrittenAsNoName) {
  OrvWebJavaScriptResultEvent result;
  result.resultType = OrvWebJavaScriptResultType(9);
  EXPECT_EQ(memberOf(result, "resultType"), R"("")");
  OrvWebContextMenuRequestEvent menu;
  using Item = OrvWebContextMenuItem;
  menu.menuItems = {Item(-1), Item(-2), Item(26)};
  EXPECT_NE(bodyOf(menu).find(R"("menuItems":["Invalid","",""],)"), std::string::npos);
}

class ForwardingTest : public ::testing::Test {
 protected:
  std::vector<std::string> forward(OrvWebEvent&& event) {
    forwardWebEvent(view, event, sink);
    return std::exchange(sink.trace, {});
  }

  OrvWebView view;
  RememberingSink sink;
};

TEST_F(ForwardingTest, PropertyChangeTellsTheValueFirstAndThenThatItChanged) {
  const auto changed = [](const std::string& name) {
    return "post PropertyChanged {\"isPost\":true,\"isSend\":false,\"property\":\"" + name +
           "\",\"type\":\"PropertyChanged\"}";
  };
  EXPECT_THAT(forward(Changed(Changed::ZOrder)),
              ElementsAre("post PropertyZOrderEvent 0", changed("ZOrder")));
  view.setDevicePixelRatio(1.0 / 3);
  EXPECT_THAT(
      forward(Changed(Changed::DevicePixelRatio)),
      ElementsAre("post PropertyDevicePixelRatioEvent 0.333333", changed("DevicePixelRatio")));
  EXPECT_THAT(forward(Changed(Changed::HistoryList)),
              ElementsAre("post PropertyHistoryListEvent ", changed("HistoryList")));
  EXPECT_THAT(forward(Changed(Changed::PropertyMax)), ElementsAre(changed("PropertyMax")));
  EXPECT_THAT(forward(Changed(Changed::Property(86))), ElementsAre(changed("")));
  EXPECT_THAT(forward(Changed(Changed::Property(-1))), ElementsAre(changed("")));
}

class OpenWindowBodyTest : public test_support::ChromeFixture {};

TEST_F(OpenWindowBodyTest, WebViewsGoByTheirHandles) {
  OrvWebOpenWindowEvent open;
  open.action = OrvWebOpenWindowAction::RECYCLE;
  open.rect = OrvWebRect{1, 2, 3, 4};
  open.windowName = "_blank";
  open.view = root;
  EXPECT_EQ(bodyOf(open),
            R"({"action":"RECYCLE","button":0,"isModal":false,"isPopup":false,"isPost":false,)"
            R"("isPreventDefault":false,"isSend":true,"modifierMask":0,)"
            R"("page":"Unsupported type: OrvWebPage*",)"
            R"("rect":{"height":4,"width":3,"x":1,"y":2},"type":"OpenWindow","url":"",)"
            R"("view":"1","wait":false,"waitHandle":0,"windowName":"_blank"})");
  const unsigned int handle = createWebView();
  open.view = &webView(handle);
  EXPECT_EQ(memberOf(open, "view"), "\"" + std::to_string(handle) + "\"");
  OrvWebView unknown;
  for (OrvWebView* none : {&unknown, static_cast<OrvWebView*>(nullptr)}) {
    open.view = none;
    EXPECT_EQ(memberOf(open, "view"), R"("0")");
  }
}

}  // namespace
