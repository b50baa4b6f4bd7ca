// The fuzzers' rules on texts that are the same each time: what every answer, record and object
// file may change, and nothing else. Main thread.
#include "tests/fuzz/Fuzzers.h"
#include "tests/platform/StandardErrorPipe.h"
#include "tests/support/ChromeFixture.h"

namespace fuzz {

void require(bool holds, const char* what, const std::string& text) {
  EXPECT_TRUE(holds) << what << ", for " << ::testing::PrintToString(text);
}

namespace {

void takeTexts(void (*fuzzer)(test_support::Mutator&, Tally&)) {
  test_support::inOwnProcess([&] {
    // No web view is found by its handle, and mistakes are told to nobody.
    Tessel::Platform::MainMessageClient client(0, -1);
    WebViewManager::instance().destroyWebView(WebViewManager::rootHandle);
    const Tessel::Platform::Testing::StandardErrorPipe log;
    test_support::Mutator mutator = mutatorOfTexts(20261125);
    Tally tally;
    while (tally.all < 30000 && !::testing::Test::HasFailure()) fuzzer(mutator, tally);
    // Of only good or only bad texts, half of the code would not be reached.
    EXPECT_GT(tally.accepted, tally.all / 50);
    EXPECT_GT(tally.all - tally.accepted, tally.all / 50);
  });
}

TEST(FuzzTest, AnswersChangeWhatTheyMayAndNothingElse) {
  takeTexts(fuzzAnswers);
}

TEST(FuzzTest, RecordsAreReadWholeOrNotAtAllAndWrittenAsTheyWereRead) {
  takeTexts(fuzzRecords);
}

TEST(FuzzTest, ObjectFilesAreReadMergedAndWrittenAsTheyWereRead) {
  takeTexts(fuzzObjects);
}

}  // namespace

}  // namespace fuzz
