// The remaining capabilities of root, checked by system calls. Each test runs in a separate
// process, since capabilities cannot be regained.
#include "platform/os/ProcessAbilities.h"
#include "platform/os/Scheduling.h"
#include "tests/support/OwnProcess.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <thread>

namespace {

using namespace Tessel::Platform;
using test_support::inOwnProcess;

constexpr uid_t serverUser = 89;

int restrictToUsersFrom(std::uint64_t lowest) {
  return procmgr_ability(0, {{AbilityNonRoot | AbilityAllow | AbilitySetUserId},
                             {AbilityNonRoot | AbilityRange | AbilitySetUserId, lowest},
                             {AbilityNonRoot | AbilityAllow | AbilitySetGroupId},
                             {AbilityNonRoot | AbilityRange | AbilitySetGroupId, 0},
                             {AbilityNonRoot | AbilityAllow | AbilitySignalOthers}});
}

// 0 or the error.
template <typename... Arguments>
int outcome(long number, Arguments... arguments) {
  return ::syscall(number, arguments...) == 0 ? 0 : errno;
}

class AbilitiesTest : public testing::Test {
 protected:
  void SetUp() override {
    if (::geteuid() != 0) GTEST_SKIP() << "only root has rights to give up";
  }
};

TEST_F(AbilitiesTest, UsersBelowTheBoundAreOutOfReachInEveryWayOfAskingForThem) {
  inOwnProcess([] {
    ASSERT_EQ(restrictToUsersFrom(serverUser), 0);
    ASSERT_EQ(::setgid(214), 0);
    ASSERT_EQ(switchUser(serverUser), 0);
    for (const long low : {0L, 1L, 63L, 64L, 79L, 80L, 87L, 88L}) {
      EXPECT_EQ(outcome(SYS_setuid, low), EPERM) << low;
      // The kernel uses only the lower half.
      EXPECT_EQ(outcome(SYS_setuid, (1L << 32) + low), EPERM) << low;
      EXPECT_EQ(outcome(SYS_setresuid, -1L, -1L, low), EPERM) << low;
      EXPECT_EQ(outcome(SYS_setreuid, low, -1L), EPERM) << low;
    }
    EXPECT_EQ(outcome(SYS_setgid, 0L), EPERM);
    EXPECT_EQ(outcome(SYS_unshare, CLONE_NEWUSER), EPERM);
    EXPECT_EQ(outcome(SYS_setresuid, -1L, -1L, -1L), 0) << "-1 leaves an id alone";
    EXPECT_EQ(outcome(SYS_setgid, 1L), 0);
    EXPECT_EQ(outcome(SYS_setuid, 90L), 0);
  });
}

TEST_F(AbilitiesTest, OfRootsRightsOnlyThoseThatWereAllowedAreKept) {
  const pid_t stranger = ::getpid();
  inOwnProcess([&] {
    ASSERT_EQ(restrictToUsersFrom(serverUser), 0);
    EXPECT_NE(::setpriority(PRIO_PROCESS, 0, -1), 0) << "still root, but without its rights";
    ASSERT_EQ(switchUser(serverUser), 0);
    EXPECT_EQ(::kill(stranger, 0), 0);
    EXPECT_EQ(outcome(SYS_setuid, 1000L), 0);
    bool ran = false;
    std::thread([&] { ran = true; }).join();
    EXPECT_TRUE(ran);

    ASSERT_EQ(procmgr_ability(0, {{AbilityDeny | AbilitySetUserId},
                                  {AbilityDeny | AbilitySetGroupId},
                                  {AbilityDeny | AbilitySignalOthers}}),
              0);
    EXPECT_EQ(outcome(SYS_setuid, 1001L), EPERM);
    EXPECT_EQ(outcome(SYS_setgid, 1001L), EPERM);
    EXPECT_NE(::kill(stranger, 0), 0);
  });
}

TEST_F(AbilitiesTest, WordsThatMeanNothingAreRefusedAndChangeNothing) {
  inOwnProcess([] {
    EXPECT_EQ(procmgr_ability(1, {}), ESRCH);
    EXPECT_EQ(procmgr_ability(0, {{AbilityAllow | 12345U}}), EINVAL);
    EXPECT_EQ(procmgr_ability(0, {{AbilityAllow | AbilityDeny | AbilitySetUserId}}), EINVAL);
    EXPECT_EQ(procmgr_ability(0, {{AbilityRange | AbilitySetUserId, 5, 10}}), EINVAL);
    EXPECT_EQ(procmgr_ability(0, {{AbilityRange | AbilitySignalOthers, 5}}), EINVAL);
    EXPECT_EQ(procmgr_ability(0, {{AbilityRange | AbilityMapFixed, 4096}}), 0);
    EXPECT_EQ(procmgr_ability(0, {{AbilityRange | AbilityMapFixed, 1ULL << 40}}), ENOTSUP);
    EXPECT_EQ(::setresuid(5, 5, 0), 0);
  });
}

TEST_F(AbilitiesTest, PriorityIsNicenessTheOtherWayRound) {
  inOwnProcess([] {
    EXPECT_EQ(SchedSet(0, -1, -1, 3), 0);
    EXPECT_EQ(::getpriority(PRIO_PROCESS, 0), 7);
    EXPECT_EQ(SchedSet(0, 0, -1, 1000), 0);
    EXPECT_EQ(::getpriority(PRIO_PROCESS, 0), -20);
    EXPECT_EQ(SchedSet(0, 0, -1, 0), EINVAL);
    EXPECT_EQ(SchedSet(0, 0, SCHED_FIFO, 10), EINVAL);
    ASSERT_EQ(::setuid(1000), 0);
    EXPECT_EQ(SchedSet(0, -1, -1, normalPriority), 0) << "back to what everybody may have";
    EXPECT_EQ(SchedSet(0, -1, -1, normalPriority + 1), EACCES);
  });
}

}  // namespace
