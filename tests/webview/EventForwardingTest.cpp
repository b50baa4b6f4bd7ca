// How events become what the chrome is told, and what its answers do to them.
#include "engine/OrvWebView.h"
#include "webview/events/EventForwarding.h"
#include "webview/events/Names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Event = OrvWebEvent;
using Changed = OrvWebPropertyChangedEvent;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string bodyOf(const OrvWebEvent& event) {
  return jsonFromObject(event).toStdString();
}

// Remembers what is forwarded, as "post name data" or "send name data".
class RememberingSink final : public EventSink {
 public:
  void post(const String& name, const String& data) override {
    trace.push_back("post " + name.toStdString() + " " + data.toStdString());
  }
  String send(const String& name, const String& data) override {
    trace.push_back("send " + name.toStdString() + " " + data.toStdString());
    return answer;
  }

  std::vector<std::string> trace;
  String answer;
};

TEST(EventJsonTest, CallbackWritesEveryArgumentAsJsonWhateverIsInIt) {
  OrvWebJavaScriptCallbackEvent event(
      {"f", "a \"b\" \\c/", "\x01\t\n\x1f\x7f", nullptr, "\xc3\xa4\xf0\x9f\x98\x80", "</script>"});
  event.setResult("so \"far\"");
  EXPECT_EQ(bodyOf(event),
            "{\"args\":[\"f\",\"a \\\"b\\\" \\\\c/\",\"\\u0001\\t\\n\\u001F\x7f\",\"\","
            "\"\xc3\xa4\xf0\x9f\x98\x80\",\"</script>\"],"
            "\"isModal\":false,\"isPost\":false,\"isPreventDefault\":false,\"isSend\":true,"
            "\"numArgs\":6,\"result\":\"so \\\"far\\\"\",\"type\":\"JavaScriptCallback\"}");
}

class AnswerTest : public ::testing::Test {
 protected:
  // "modal preventDefault result" of an event that was modal with the result "kept".
  static std::string after(const std::string& answer) {
    OrvWebJavaScriptCallbackEvent event({"f"});
    event.setModal(true);
    event.setResult("kept");
    jsonOnObject(event, answer);
    return std::string(event.isModal() ? "1" : "0") + (event.isPreventDefault() ? "1 " : "0 ") +
           event.result().toStdString();
  }
};

TEST_F(AnswerTest, WhatIsNoObjectChangesNothing) {
  for (const char* answer :
       {"", "   ", "true", "\"text\"", "[{\"setModal\":false}]", "{\"setModal\":false",
        "{\"setModal\":false} x", "{'setModal':false}", "{\"setModal\":false,}"}) {
    EXPECT_EQ(after(answer), "10 kept") << answer;
  }
}

TEST_F(AnswerTest, DeepNestingIsHarmless) {
  const std::string open(100000, '[');
  const std::string deep = open + std::string(100000, ']');
  EXPECT_EQ(after(open), "10 kept");
  EXPECT_EQ(after(deep), "10 kept");
  EXPECT_EQ(after("{\"setModal\":" + deep + ",\"setResult\":\"ok\"}"), "10 ok");
}

class ForwardingTest : public ::testing::Test {
 protected:
  std::vector<std::string> forward(OrvWebEvent&& event) {
    forwardWebEvent(view, event, sink);
    return std::exchange(sink.trace, {});
  }
  std::string valueOf(Changed::Property property) {
    return propertyValueText(view, property).toStdString();
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
  EXPECT_THAT(forward(Changed(Changed::HistoryList)),
              ElementsAre("post PropertyHistoryListEvent ", changed("HistoryList")));
  EXPECT_THAT(forward(Changed(Changed::PropertyMax)), ElementsAre(changed("PropertyMax")));
  EXPECT_THAT(forward(Changed(Changed::Property(86))), ElementsAre(changed("")));
  EXPECT_THAT(forward(Changed(Changed::Property(-1))), ElementsAre(changed("")));
}

TEST_F(ForwardingTest, PropertyValuesAreWrittenByTheirKind) {
  EXPECT_EQ(valueOf(Changed::EnableJavaScript), "true");
  EXPECT_EQ(valueOf(Changed::BlockPopups), "false");
  EXPECT_EQ(valueOf(Changed::Visible), "true");
  EXPECT_EQ(valueOf(Changed::CanGoBack), "false");
  EXPECT_EQ(valueOf(Changed::LoadProgress), "0");
  EXPECT_EQ(valueOf(Changed::DefaultFontSize), "16");
  view.setZOrder(-7);
  EXPECT_EQ(valueOf(Changed::ZOrder), "-7");
  view.setDevicePixelRatio(1.0 / 3);
  EXPECT_EQ(valueOf(Changed::DevicePixelRatio), "0.333333");
  view.setUserAgent("no \"JSON\"");
  EXPECT_EQ(valueOf(Changed::UserAgent), "no \"JSON\"");
  view.setViewport({-1, 2, 300, 40});
  EXPECT_EQ(valueOf(Changed::Viewport), "{\"height\":40,\"width\":300,\"x\":-1,\"y\":2}");
  for (auto property : {Changed::HistoryList, Changed::CustomHTTPHeaders, Changed::Property(86)}) {
    EXPECT_EQ(valueOf(property), "");
  }
}

}  // namespace
