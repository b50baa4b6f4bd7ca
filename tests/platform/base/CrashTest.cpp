// The output of a crashing process. Each crash happens in a forked child.
#include "platform/base/Crash.h"
#include "platform/base/Log.h"
#include "tests/support/StandardErrorPipe.h"

#include <gtest/gtest.h>
#include <signal.h>

namespace Tessel::Platform {
namespace {

class CrashDeathTest : public testing::Test {
 protected:
  // The children are re-executed, since earlier tests may have started threads.
  CrashDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(CrashDeathTest, SaysWhereAndHowItGotThereThenAborts) {
  // A frame of the backtrace ends with its address in brackets.
  EXPECT_EXIT(platformCrash("Some.cpp", 12, "someFunction"), testing::KilledBySignal(SIGABRT),
              "crash at Some.cpp:12 in someFunction\n.*\\[0x[0-9a-f]+\\]");
}

TEST_F(CrashDeathTest, StandardErrorThatNobodyReadsDoesNotDelayTheEnd) {
  EXPECT_EXIT(
      {
        alarm(20);
        Testing::StandardErrorPipe pipe;
        while (standardErrorTakesALine()) logAlways(LogNotice, "filling %1000s", "");
        platformCrash("Some.cpp", 12, "someFunction");
      },
      testing::KilledBySignal(SIGABRT), "");
}

}  // namespace
}  // namespace Tessel::Platform
