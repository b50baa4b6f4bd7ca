// The cost of a web view in a child process: the time until its page is loaded and the memory of
// its processes, compared with a program that only shows one page. Needs a display.
#include "bench/Memory.h"
#include "tests/support/Processes.h"
#include "tests/support/Program.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

using bench::memoryOf;
using bench::settle;
using bench::treeOf;
using test_support::childrenOf;
using test_support::nameOf;
using test_support::Program;
using Clock = std::chrono::steady_clock;

namespace {

struct Cost {
  double milliseconds = 0;
  double megabytes = 0;
};

// A bare program, measured from exec. It keeps running during the following measurements, so that
// library pages are shared with it as they are with the program's own processes.
Cost bareProgram(pid_t& pid) {
  int output[2];
  if (::pipe2(output, O_CLOEXEC) != 0) std::abort();
  const auto start = Clock::now();
  pid = ::fork();
  if (pid == 0) {
    ::dup2(output[1], STDOUT_FILENO);
    ::execl(PAGEHOST_BARE_VIEW, PAGEHOST_BARE_VIEW, nullptr);
    ::_exit(127);
  }
  ::close(output[1]);
  char line[16];
  if (::read(output[0], line, sizeof line) <= 0) std::abort();
  const std::chrono::duration<double, std::milli> time = Clock::now() - start;
  ::close(output[0]);
  settle();
  return {time.count(), memoryOf(treeOf(pid))};
}

}  // namespace

int main() {
  const Program::Environment environment{{"CHROME_URL", "local:///children.html"},
                                         {"TESSEL_LOCAL_ROOT", PAGEHOST_BENCH_PAGES}};
  Program program(environment);
  std::printf("%-44s %10s %10s\n", "web view in a child process of its own", "ms", "MB (PSS)");
  std::vector<pid_t> seen;
  std::vector<Cost> costs;
  while (costs.size() < 5) {
    const auto line = program.nextLine();
    if (!line || line->starts_with("error")) {
      std::fprintf(stderr, "%s\n%s\n", line ? line->c_str() : "silence", program.errors().c_str());
      return EXIT_FAILURE;
    }
    if (!line->starts_with("shown")) continue;
    settle();
    Cost cost{std::atof(line->c_str() + 8), 0};
    for (const pid_t launcher : childrenOf(program.pid())) {
      if (nameOf(launcher) != "webkit-child-launcher") continue;
      // The most recent one.
      pid_t newest = 0;
      for (const pid_t child : childrenOf(launcher)) newest = std::max(newest, child);
      cost.megabytes = memoryOf(treeOf(newest));
    }
    costs.push_back(cost);
    if (costs.size() == 1 || costs.size() == 5) {
      std::printf("%-44s %10.0f %10.1f\n", costs.size() == 1 ? "  the first" : "  the fifth",
                  cost.milliseconds, cost.megabytes);
    }
  }
  pid_t bare = 0;
  const Cost floor = bareProgram(bare);
  ::kill(bare, SIGKILL);
  ::waitpid(bare, nullptr, 0);
  std::printf("%-44s %10.0f %10.1f\n", "floor: a bare program, beside them", floor.milliseconds,
              floor.megabytes);
  std::printf("%-44s %10.2f %10.2f\n", "ratio of the fifth",
              costs[4].milliseconds / floor.milliseconds, costs[4].megabytes / floor.megabytes);
}
