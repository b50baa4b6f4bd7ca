// Forking a process in which libraries have started threads before main() ran. The calling thread.
#include "platform/os/Fork.h"

#include "platform/base/Log.h"
#include "platform/base/UniqueFd.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <thread>

namespace Tessel::Platform {

namespace {

using Clock = std::chrono::steady_clock;

// An allocator's thread works for a millisecond or two, some ten times a second.
constexpr std::chrono::microseconds pause{500};
constexpr std::streamsize longestLine = 65536;

// How often each other thread has left a processor.
using Sleepers = std::map<std::string, unsigned long>;

// How often a thread that sleeps has left a processor; nothing for one that does not sleep.
std::optional<unsigned long> sleeperSwitches(const std::filesystem::path& task) {
  std::ifstream status(task / "status");
  unsigned long switches = 0;
  bool sleeps = false;
  for (std::string key; status >> key; status.ignore(longestLine, '\n')) {
    if (key == "State:") {
      char state = 0;
      sleeps = status >> state && state == 'S';
    } else if (key.ends_with("voluntary_ctxt_switches:")) {  // "non" before it or not
      unsigned long count = 0;
      status >> count;
      switches += count;
    }
  }
  return sleeps ? std::optional(switches) : std::nullopt;
}

// Nothing while one of them does not sleep.
std::optional<Sleepers> sleepers() {
  Sleepers found;
  std::error_code error;
  const std::string own = std::to_string(::gettid());
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task", error)) {
    const std::string id = task.path().filename();
    if (id == own) continue;
    const auto switches = sleeperSwitches(task.path());
    if (!switches) return std::nullopt;
    found[id] = *switches;
  }
  return found;
}

struct Go {
  UniqueFd reader;
  UniqueFd writer;
};

std::optional<Go> makeGo() {
  int ends[2] = {-1, -1};
  if (::pipe2(ends, O_CLOEXEC) != 0) return std::nullopt;
  return Go{UniqueFd(ends[0]), UniqueFd(ends[1])};
}

void awaitGo(Go& go) {
  go.writer.reset();
  char byte = 0;
  ssize_t count = 0;
  do {
    count = ::read(go.reader.get(), &byte, 1);
  } while (count < 0 && errno == EINTR);
  if (count != 1) ::_exit(EXIT_FAILURE);
}

void discard(pid_t child) {
  ::kill(child, SIGKILL);
  while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
}

// Blocks SIGCHLD, so that the end of a child that was never released is not noticed.
class ChildEndsUnheard {
 public:
  ChildEndsUnheard() {
    sigset_t childEnd;
    sigemptyset(&childEnd);
    sigaddset(&childEnd, SIGCHLD);
    pthread_sigmask(SIG_BLOCK, &childEnd, &before_);
  }
  ~ChildEndsUnheard() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  ChildEndsUnheard(const ChildEndsUnheard&) = delete;
  ChildEndsUnheard& operator=(const ChildEndsUnheard&) = delete;

 private:
  sigset_t before_{};
};

}  // namespace

pid_t forkUndisturbed(std::chrono::milliseconds patience) {
  const ChildEndsUnheard unheard;
  const auto deadline = Clock::now() + patience;
  for (;; std::this_thread::sleep_for(pause)) {
    const auto before = sleepers();
    if (before && before->empty()) return ::fork();
    const bool isLate = Clock::now() > deadline;
    if (!before && !isLate) continue;
    auto go = makeGo();
    if (!go) return -1;
    const pid_t child = ::fork();
    if (child < 0) return child;
    if (child == 0) {
      awaitGo(*go);
      return 0;
    }
    const bool isClean = before && sleepers() == before;
    if (!isClean && !isLate) {
      discard(child);
      continue;
    }
    if (!isClean) {
      logAlways(LogError, "Process %d was forked while another thread ran.",
                static_cast<int>(child));
    }
    if (::write(go->writer.get(), "", 1) != 1) {
      discard(child);
      return -1;
    }
    return child;
  }
}

}  // namespace Tessel::Platform
