// The child launcher, with real processes.
#include "ipc/ChildLauncher.h"
#include "tests/support/OwnProcess.h"
#include "tests/support/Waiting.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <initializer_list>

namespace {

// What each child tells of itself, and what keeps it alive.
int reportPipe[2];
int holdPipe[2];

struct Report {
  pid_t pid;
  pid_t parent;
  unsigned int groupId;
  int mainPid;
  int mainChannelId;
  int webEngineChannelId;
  unsigned long long key;
  int pipeFd;
  int childSignalIsDefault;
};

int childMain(unsigned int groupId, int parentPid, int mainChannelId, int webEngineChannelId,
              unsigned long long key) {
  struct sigaction action {};
  ::sigaction(SIGCHLD, nullptr, &action);
  const Report report{::getpid(), ::getppid(),   groupId,
                      parentPid,  mainChannelId, webEngineChannelId,
                      key,        launchPipeFd,  action.sa_handler == SIG_DFL};
  if (::write(reportPipe[1], &report, sizeof report) != sizeof report) return 9;
  // Until the test says so, or is gone.
  char byte = 0;
  ::close(holdPipe[1]);
  return ::read(holdPipe[0], &byte, 1) == 1 ? 7 : 0;
}

Report nextReport() {
  Report report{};
  pollfd ready{reportPipe[0], POLLIN, 0};
  EXPECT_EQ(::poll(&ready, 1, 20000), 1) << "no child was forked";
  EXPECT_EQ(::read(reportPipe[0], &report, sizeof report), ssize_t(sizeof report));
  return report;
}

// Bounded: false when all of the processes are still there.
bool isOneGone(std::initializer_list<pid_t> pids) {
  return Tessel::Platform::Testing::iterateUntil(
      [&] { return std::ranges::any_of(pids, [](pid_t pid) { return ::kill(pid, 0) != 0; }); });
}

void launch(const LaunchRecord& record, std::size_t piece) {
  const auto* bytes = reinterpret_cast<const char*>(&record);
  for (std::size_t at = 0; at < sizeof record; at += piece) {
    ASSERT_EQ(::write(launchPipeFd, bytes + at, piece), ssize_t(piece));
  }
}

TEST(ChildLauncherTest, ARecordBecomesAChildAndTheEndOfThePipeTheEnd) {
  test_support::inOwnProcess([] {
    ASSERT_EQ(::pipe(reportPipe), 0);
    ASSERT_EQ(::pipe(holdPipe), 0);
    // Orphans come here, so that their end can be seen.
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    ASSERT_EQ(launchPipeFd, -1);
    ASSERT_TRUE(spawnChildLauncher(childMain));
    ASSERT_GE(launchPipeFd, 0);

    launch({0x0123456789abcdef, 5, 6, 7, 0}, 24);
    const Report first = nextReport();
    EXPECT_EQ(first.key, 0x0123456789abcdefULL);
    EXPECT_EQ(first.groupId, 5u);
    EXPECT_EQ(first.mainPid, ::getpid());
    EXPECT_EQ(first.mainChannelId, 6);
    EXPECT_EQ(first.webEngineChannelId, 7);
    EXPECT_EQ(first.pipeFd, -1) << "a child must not launch others";
    EXPECT_TRUE(first.childSignalIsDefault);
    EXPECT_EQ(::getpgid(first.parent), first.parent) << "the launcher leads its own group";

    // In pieces it is the same.
    launch({2, 3, 4, 5, 0}, 8);
    const Report second = nextReport();
    EXPECT_EQ(second.key, 2u);
    EXPECT_EQ(second.parent, first.parent);

    // What ends is reaped at once; the launcher goes on.
    ASSERT_EQ(::write(holdPipe[1], "x", 1), 1);
    EXPECT_TRUE(isOneGone({first.pid, second.pid}));
    launch({8, 9, 10, 11, 0}, 24);
    EXPECT_EQ(nextReport().groupId, 9u);

    ::close(launchPipeFd);
    EXPECT_TRUE(isOneGone({first.parent})) << "the launcher outlives its pipe";
    ::close(holdPipe[1]);
    while (::waitpid(-1, nullptr, 0) > 0) {
    }
    EXPECT_EQ(errno, ECHILD);
  });
}

}  // namespace
