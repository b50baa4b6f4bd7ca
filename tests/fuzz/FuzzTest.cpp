// The fuzzers' rules: what every answer, record and object file may change, and nothing else. The
// texts are the same each time, unless a variable asks for others or for more. Main thread.
#include "tests/fuzz/Fuzzers.h"
#include "tests/support/ChromeFixture.h"
#include "tests/support/StandardErrorPipe.h"

#include <cstdlib>

namespace fuzz {

void require(bool holds, const char* what, const std::string& text) {
  EXPECT_TRUE(holds) << what << ", for " << ::testing::PrintToString(text);
}

namespace {

std::uint64_t wanted(const char* variable, std::uint64_t usual) {
  const char* wish = std::getenv(variable);
  return wish ? std::strtoull(wish, nullptr, 10) : usual;
}

using Fuzzer = void (*)(test_support::Mutator&, Tally&);
class FuzzTest : public ::testing::TestWithParam<std::pair<const char*, Fuzzer>> {};

TEST_P(FuzzTest, EveryTextKeepsTheRules) {
  test_support::inOwnProcess([] {
    // No web view is found by its handle, and mistakes are told to nobody.
    Tessel::Platform::MainMessageClient client(0, -1);
    WebViewManager::instance().destroyWebView(WebViewManager::rootHandle);
    const Tessel::Platform::Testing::StandardErrorPipe log;
    test_support::Mutator mutator = mutatorOfTexts(wanted("PAGEHOST_FUZZ_SEED", 20261125));
    const std::uint64_t texts = wanted("PAGEHOST_FUZZ_TEXTS", 12000);
    Tally tally;
    while (tally.all < texts && !HasFailure()) GetParam().second(mutator, tally);
    // Of only good or only bad texts, half of the code would not be reached.
    EXPECT_GT(tally.accepted, tally.all / 50);
    EXPECT_GT(tally.all - tally.accepted, tally.all / 50);
  });
}

INSTANTIATE_TEST_SUITE_P(Readers, FuzzTest,
                         ::testing::Values(std::pair("Answers", &fuzzAnswers),
                                           std::pair("Records", &fuzzRecords),
                                           std::pair("Objects", &fuzzObjects)),
                         [](const auto& info) { return info.param.first; });

}  // namespace

}  // namespace fuzz
