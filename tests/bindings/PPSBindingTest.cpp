// Opening, writing, closing and watching objects from the chrome.
#include "bindings/PPSBinding.h"
#include "platform/loop/MessageClient.h"
#include "tests/support/ChromeFixture.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Waiting.h"

#include <cstdlib>

namespace {

using Tessel::Platform::executableMessage;
using Tessel::Platform::webKitThreadMessageClient;
using Tessel::Platform::Testing::iterateUntil;

class PPSBindingTest : public test_support::ChromeFixture {
 protected:
  PPSBindingTest() { ::setenv("TESSEL_PPS_ROOT", folder_.path().c_str(), 1); }
  ~PPSBindingTest() override {
    for (const char* id : {"1", "5", "0", "-1"}) callNative({"pps.close", id});
    EXPECT_TRUE(iterateUntil([&] { return closed() == opened_; })) << "every object is let go of";
    ::unsetenv("TESSEL_PPS_ROOT");
  }

  std::string open(const char* id, const char* path, const char* flags = "66",
                   const char* mode = "0") {
    const std::string result = callNative({"pps.open", id, path, mode, flags, "384"});
    if (result.starts_with(R"({"result":true)")) ++opened_;
    return result;
  }
  // The calls of chrome.internal.pps.onEvent since the last call, as "id name text". Events arrive
  // on the web-engine thread, so they are read there.
  const std::vector<std::string>& events() {
    webKitThreadMessageClient()->dispatchSyncMessage(executableMessage([this] {
      // Waits for the last event of an object.
      const auto take = [this](const FunctionCall& call) {
        if (call.path != std::vector<String>{"chrome", "internal", "pps", "onEvent"}) return false;
        std::string text = String::fromNumber(call.arguments.at(0).numberValue()).toStdString() +
                           " " + call.arguments.at(1).stringValue().toStdString();
        if (call.arguments.size() > 2) text += " " + call.arguments[2].stringValue().toStdString();
        events_.push_back(text);
        return true;
      };
      std::erase_if(page->posted, take);
      std::erase_if(page->called, take);
    }));
    return events_;
  }
  bool hears(const std::string& event) {
    return iterateUntil([&] { return !events().empty() && events_.back() == event; });
  }
  long closed() {
    events();
    return std::count_if(events_.begin(), events_.end(), [](const std::string& event) {
      return event.ends_with(" Closed") || event.find(" OpenFailed ") != std::string::npos;
    });
  }

  test_support::TemporaryFolder folder_;
  PPSBinding& binding = PPSBinding::instance();

 private:
  std::vector<std::string> events_;
  long opened_ = 0;
};

TEST_F(PPSBindingTest, AClosingObjectKeepsItsIdUntilClosedHasArrived) {
  EXPECT_EQ(open("5", "status"), R"({"result":true,"data":{"status":{}}})");
  // Keeps the thread of the events busy.
  webKitThreadMessageClient()->dispatchMessage(executableMessage([] { ::usleep(200'000); }));
  callNative({"pps.close", "5"});
  EXPECT_EQ(open("5", "status"), R"({"result":false})");
  EXPECT_EQ(callNative({"pps.write", "5", R"({"on":false})"}), "false");
  // Also during the notification of the end: the chrome's handler may be on the call stack.
  std::string opened;
  page->answer = [&](const FunctionCall& call) {
    if (call.arguments.at(1).stringValue() == "Closed") opened = open("5", "status");
    return JavaScriptVariant();
  };
  ASSERT_TRUE(hears("5 Closed"));
  page->answer = {};
  EXPECT_EQ(opened, R"({"result":false})");
  EXPECT_EQ(open("5", "status"), R"({"result":true,"data":{"status":{}}})");
}

TEST_F(PPSBindingTest, WritesAnswerWhatBecameOfThem) {
  EXPECT_EQ(callNative({"pps.write", "1", R"({"a":1})"}), "false");
  open("1", "status");
  ASSERT_TRUE(hears(R"(1 FirstReadComplete {"status":{}})"));
  for (const char* nothing : {"[1]", "no JSON", "{}", ""}) {
    EXPECT_EQ(callNative({"pps.write", "1", nothing}), "true");
  }
  const std::string deep = R"({"a":)" + std::string(100, '[') + std::string(100, ']') + "}";
  EXPECT_EQ(callNative({"pps.write", "1", deep.c_str()}), "false");
  ASSERT_TRUE(hears("1 WriteFailed The JSON is nested too deep: nothing was written"));
  EXPECT_EQ(callNative({"pps.write", "1", R"({"":1})"}), "false");
  ASSERT_TRUE(
      hears("1 WriteFailed The object \"status\" could not be written: it has a line that "
            "is no attribute"));
}

TEST_F(PPSBindingTest, MistakesAreAnswered) {
  EXPECT_EQ(open("1", "status", "66", "7"), R"({"result":false})");
  EXPECT_EQ(open("1", "status", "0"), R"({"result":false})");
  EXPECT_EQ(callNative({"pps.open", "1", nullptr, nullptr, nullptr, nullptr}),
            R"({"result":false})");
  EXPECT_EQ(callNative({"pps.close", "77"}), "");
  // Malformed numbers are read as 0; nothing else raises an event.
  EXPECT_EQ(open("abc", "status"), R"({"result":true,"data":{"status":{}}})");
  ASSERT_TRUE(hears(R"(0 FirstReadComplete {"status":{}})"));
  EXPECT_EQ(open("-1", "status"), R"({"result":true,"data":{"status":{}}})");
  ASSERT_TRUE(hears(R"(-1 FirstReadComplete {"status":{}})"));
  EXPECT_EQ(events().size(), 4u);
}

}  // namespace
