// Log lines as read from standard error, which is replaced by a pipe.
#include "platform/base/Log.h"
#include "tests/support/StandardErrorPipe.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace Tessel::Platform {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using Testing::StandardErrorPipe;

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

class LogTest : public testing::Test {
 protected:
  LogTest() { setupApplicationLogging("tester"); }
  ~LogTest() override { setupApplicationLogging("pagehost"); }
};

TEST_F(LogTest, LongLineIsCutToOnePieceBetweenCharacters) {
  StandardErrorPipe pipe;
  logAlways(LogError, "%s", std::string(100000, 'x').c_str());
  const std::string plain = pipe.read();
  EXPECT_EQ(plain.size(), 4096u);
  EXPECT_EQ(plain.find('\n'), 4095u);

  // One of two adjacent offsets truncates in the middle of a two-byte character.
  std::string accents;
  for (int i = 0; i < 3000; ++i) accents += "\xC3\xA4";
  for (const char* offset : {"", "x"}) {
    logAlways(LogError, "%s%s", offset, accents.c_str());
    const std::string text = pipe.read();
    EXPECT_GE(text.size(), 4095u);
    EXPECT_THAT(text, EndsWith("\xC3\xA4\n"));
  }
}

TEST_F(LogTest, FullPipeDoesNotBlockAndIsReportedOnce) {
  StandardErrorPipe pipe;
  const std::string filling(3000, 'f');
  constexpr int sent = 100;  // far more than any pipe of 64 KiB holds
  for (int i = 0; i < sent; ++i) logAlways(LogNotice, "%s", filling.c_str());
  const auto arrived = static_cast<int>(linesOf(pipe.read()).size());
  ASSERT_GT(arrived, 0);
  ASSERT_LT(arrived, sent);

  logAlways(LogNotice, "through");
  logAlways(LogNotice, "again");
  const auto lines = linesOf(pipe.read());
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_THAT(lines[0],
              EndsWith(" (" + std::to_string(sent - arrived) + " lines missing) through"));
  EXPECT_THAT(lines[1], Not(HasSubstr("missing")));
}

TEST_F(LogTest, ReaderThatIsGoneCostsTheLinesNotTheProcess) {
  {
    StandardErrorPipe pipe;
    pipe.closeReadEnd();
    logAlways(LogError, "nobody hears this");
  }
  StandardErrorPipe pipe;
  logAlways(LogError, "but this");
  EXPECT_THAT(pipe.read(), HasSubstr("(1 lines missing) but this"));
}

}  // namespace
}  // namespace Tessel::Platform
