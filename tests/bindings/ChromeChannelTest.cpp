// The calls of the chrome's functions and what becomes of their values.
#include "bindings/ChromeChannel.h"
#include "tests/support/ChromeFixture.h"

namespace {

class ChromeChannelTest : public test_support::ChromeFixture {
 protected:
  // What a send gets when the chrome answers with that value.
  std::string answerFor(JavaScriptVariant value) {
    page->answer = [&](const FunctionCall&) { return value; };
    return sendChromeSendEvent(root, "Name", "", 1, 0).toStdString();
  }
};

TEST_F(ChromeChannelTest, AnswersBecomeTextByTheirType) {
  EXPECT_EQ(answerFor(2), "2");
  EXPECT_EQ(answerFor(-0.5), "-0.5");
  EXPECT_EQ(answerFor(1234567), "1.23457e+06");
  EXPECT_EQ(answerFor(1e21), "1e+21");
  EXPECT_EQ(answerFor(true), "true");
  EXPECT_EQ(answerFor(false), "false");
  EXPECT_EQ(answerFor("\xc3\xa4\n\"text\""), "\xc3\xa4\n\"text\"");
  EXPECT_EQ(answerFor(JavaScriptVariant()), "");
  EXPECT_EQ(answerFor(JavaScriptVariant::object()), "");
}

}  // namespace
