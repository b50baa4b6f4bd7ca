// Feeds the readers of the chrome's texts, and of object files, with damaged ones for a number of
// seconds. Main thread.
//
//   fuzz_readers [--seconds N] [--seed N]
//
// The seed is printed first; with the same one, the same texts come in the same order.
#include "tests/fuzz/Fuzzers.h"

#include <fcntl.h>
#include <sanitizer/common_interface_defs.h>
#include <unistd.h>

#include <chrono>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>

namespace fuzz {

void require(bool holds, const char* what, const std::string& text) {
  if (holds) return;
  std::printf("fuzz_readers: %s, for %zu bytes:\n", what, text.size());
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::putchar('\n');
  std::fflush(stdout);
  std::abort();
}

namespace {

// The log says a line for every mistake of an answer. The sanitizers are still heard.
void silenceTheLog() {
  const int reports = ::dup(STDERR_FILENO);
  const int nothing = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (reports < 0 || nothing < 0 || ::dup2(nothing, STDERR_FILENO) < 0) std::abort();
  ::close(nothing);
  // NOLINTNEXTLINE(performance-no-int-to-ptr): this interface takes descriptors so
  __sanitizer_set_report_fd(reinterpret_cast<void*>(static_cast<std::intptr_t>(reports)));
}

int run(std::uint64_t seed, int seconds) {
  std::printf("seed %" PRIu64 "\n", seed);
  std::fflush(stdout);
  test_support::Mutator mutator = mutatorOfTexts(seed);
  Tally records;
  Tally answers;
  Tally objects;
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  while (std::chrono::steady_clock::now() < end) {
    for (int i = 0; i < 100; ++i) {
      fuzzRecords(mutator, records);
      fuzzAnswers(mutator, answers);
      fuzzObjects(mutator, objects);
    }
  }
  bool reachedBoth = true;
  for (const auto& [name, tally] : {std::pair("records", records), std::pair("answers", answers),
                                    std::pair("objects", objects)}) {
    std::printf("%s: %" PRIu64 " texts, %" PRIu64 " accepted\n", name, tally.all, tally.accepted);
    // Of only good or only bad texts, half of the code would not be reached.
    reachedBoth = reachedBoth && tally.accepted > tally.all / 50 &&
                  tally.all - tally.accepted > tally.all / 50;
  }
  return reachedBoth ? 0 : 1;
}

}  // namespace

}  // namespace fuzz

int main(int argc, char** argv) {
  std::uint64_t seed = std::random_device{}();
  int seconds = 10;
  fuzz::silenceTheLog();
  for (int i = 1; i + 1 < argc; i += 2) {
    if (std::strcmp(argv[i], "--seconds") == 0) seconds = std::atoi(argv[i + 1]);
    if (std::strcmp(argv[i], "--seed") == 0) seed = std::strtoull(argv[i + 1], nullptr, 10);
  }
  return fuzz::run(seed, seconds);
}
