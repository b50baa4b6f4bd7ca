// The remaining permissions of a web process after dropping its rights, in a separate process.
#include "engine/webkit/webprocess/Lockdown.h"
#include "platform/base/UniqueFd.h"
#include "tests/support/OwnProcess.h"
#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <linux/landlock.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <future>
#include <thread>

namespace {

int openError(const std::string& path) {
  const Tessel::Platform::UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  return file ? 0 : errno;
}

int rights() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct sets[2] = {};
  ::syscall(SYS_capget, &header, sets);
  return static_cast<int>(sets[0].permitted | sets[1].permitted);
}

TEST(LockdownTest, EveryThreadLosesItsRightsAlsoOneThatBlocksAllSignals) {
  const bool files =
      ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) > 0;
  const test_support::TemporaryFolder folder;
  folder.write("secret", "a key");
  folder.write("modules/module", "x");
  const std::string secret = folder.path() / "secret";
  test_support::inOwnProcess([&] {
    std::promise<void> locked;
    auto deaf = std::async(std::launch::async, [&] {
      sigset_t all;
      ::sigfillset(&all);
      ::pthread_sigmask(SIG_SETMASK, &all, nullptr);
      locked.get_future().wait();
      return std::pair(rights(), openError(secret));
    });
    while (std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}) < 2) {
      std::this_thread::yield();
    }
    EXPECT_EQ(lockDown(files, folder.path() / "modules"), "");
    locked.set_value();
    const auto [deafRights, deafError] = deaf.get();
    EXPECT_EQ(rights(), 0);
    EXPECT_EQ(deafRights, 0);
    EXPECT_EQ(::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr), -1);
    if (files) {
      EXPECT_EQ(openError(secret), EACCES);
      EXPECT_EQ(deafError, EACCES);
      EXPECT_EQ(openError("/proc/" + std::to_string(::getppid()) + "/environ"), EACCES);
    }
    EXPECT_EQ(openError(folder.path() / "modules/module"), 0);
    EXPECT_EQ(openError("/usr/bin/env"), 0);
  });
}

}  // namespace
