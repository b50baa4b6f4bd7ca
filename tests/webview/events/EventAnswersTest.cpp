// Effects of the chrome's answers on events: words, web views, order, and reported errors.
#include "engine/OrvWebEvents.h"
#include "tests/support/ChromeFixture.h"
#include "webview/events/EventForwarding.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class EventAnswersTest : public test_support::ChromeFixture {
 protected:
  static std::string member(const std::string& key, const std::string& value) {
    return "{\"" + key + "\":" + value + "}";
  }
  std::string argumentError(const char* word, const char* function) {
    return std::string("Argument error when trying to call native function: \"jsonOnObject_") +
           function + "\" with argument \"" + word + "\" at position: 0";
  }
  // A new event after applying the answer.
  static OrvWebOpenWindowEvent answered(const std::string& answer) {
    OrvWebOpenWindowEvent event;
    jsonOnObject(event, answer);
    return event;
  }
};

TEST_F(EventAnswersTest, UnknownWordsAreReportedAndTheRestIsApplied) {
  const auto open =
      answered(R"({"setWait":true,"setAction":"Create","setIsPopup":true,"setModal":true})");
  EXPECT_EQ(open.action(), OrvWebOpenWindowAction::CREATE);
  EXPECT_TRUE(open.wait() && open.isPopup() && open.isModal());
  EXPECT_THAT(errors(), ElementsAre(argumentError("Create", "OrvWebOpenWindowEvent")));
}

TEST_F(EventAnswersTest, WebViewsAreTakenByTheirHandle) {
  const unsigned int handle = createWebView();
  OrvWebOpenWindowEvent open;
  const auto viewAfter = [&](const std::string& value) {
    jsonOnObject(open, member("setView", value));
    return open.view();
  };
  const std::string text = std::to_string(handle);
  EXPECT_EQ(viewAfter("\"1\""), root);
  EXPECT_EQ(viewAfter("\"" + text + "\",\"setView\":\"1\""), &webView(handle));
  // Parsing stops at the first character that is not a digit.
  EXPECT_EQ(viewAfter("\" 1x\""), root);
  for (const char* value : {"1", "null", "true", R"(["1"])", "{}"}) {
    open.view = &webView(handle);
    EXPECT_EQ(viewAfter(value), &webView(handle)) << value;
  }
  EXPECT_THAT(errors(), IsEmpty());

  for (const char* value : {"0", "99999", "4294967295", "abc", "", "x1"}) {
    EXPECT_EQ(viewAfter("\"" + std::string(value) + "\""), &webView(handle));
    EXPECT_THAT(errors(), ElementsAre(std::string("Can't get webview for this handle: ") + value));
  }
  for (const char* value :
       {"4294967296", "4294967297", "-1", "18446744073709551616", "99999999999999999999999"}) {
    EXPECT_EQ(viewAfter("\"" + std::string(value) + "\""), &webView(handle));
    EXPECT_THAT(errors(), ElementsAre(argumentError(value, "OrvWebOpenWindowEvent")));
  }
}

TEST_F(EventAnswersTest, KeysAreAppliedInTheirOwnOrder) {
  const auto open =
      answered(R"({"setView":"4294967296","setWait":true,"setAction":"no","setView":"1"})");
  EXPECT_TRUE(open.wait());
  EXPECT_EQ(open.view(), nullptr);
  EXPECT_THAT(errors(), ElementsAre(argumentError("no", "OrvWebOpenWindowEvent"),
                                    argumentError("4294967296", "OrvWebOpenWindowEvent")));
}

}  // namespace
