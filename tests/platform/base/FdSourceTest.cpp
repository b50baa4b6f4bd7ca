// Descriptors in a main context: the events waited for, and what callbacks may do.
#include "platform/base/FdSource.h"
#include "tests/support/LocalSocket.h"
#include "tests/support/Waiting.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <tuple>
#include <vector>

namespace {

using Tessel::Platform::FdSource;
using Tessel::Platform::UniqueFd;
using Tessel::Platform::Testing::iterateUntil;
using test_support::turnLoop;

class FdSourceTest : public testing::Test {
 protected:
  FdSourceTest() { std::tie(reader, writer) = test_support::socketPair(); }

  UniqueFd reader;
  UniqueFd writer;
  FdSource source;
  int calls = 0;
};

TEST_F(FdSourceTest, WhatNobodyWantsIsNotPolledNotEvenForTheOtherEndsGoing) {
  short wanted = 0;
  short told = 0;
  source.watch(
      reader.get(), [&] { return wanted; },
      [&](short found) {
        ++calls;
        told = found;
        wanted = 0;
      });
  writer.reset();
  turnLoop();
  EXPECT_EQ(calls, 0);
  wanted = POLLIN;
  turnLoop();
  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(told & POLLHUP);
}

TEST_F(FdSourceTest, WhatIsWantedAtOnceDoesNotWaitForTheDescriptor) {
  short wanted = FdSource::atOnce;
  source.watch(
      reader.get(), [&] { return wanted; },
      [&](short) {
        if (++calls == 3) wanted = POLLIN;
      });
  turnLoop();
  EXPECT_EQ(calls, 3);
}

TEST_F(FdSourceTest, ALimitIsToldOnceAfterWhatCameInTime) {
  std::vector<short> told;
  source.watch(reader.get(), POLLIN,
               [&](short found) {
                 told.push_back(found);
                 char byte = 0;
                 if (found) ::recv(reader.get(), &byte, 1, 0);
               },
               {.limit = std::chrono::milliseconds(20)});
  ::send(writer.get(), "x", 1, 0);
  ::usleep(40000);
  turnLoop();
  EXPECT_EQ(told, (std::vector<short>{POLLIN, 0}));
}

TEST_F(FdSourceTest, APauseHidesWhatIsReadyUntilItIsOver) {
  source.watch(writer.get(), POLLOUT, [&](short) {
    ++calls;
    source.pause(std::chrono::milliseconds(30));
  });
  const auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(iterateUntil([&] { return calls == 3; }));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(59));
}

TEST_F(FdSourceTest, TheOwnerMayGoInsideTheCall) {
  auto owner = std::make_unique<FdSource>();
  const auto captured = std::make_shared<int>();
  long heldInside = 0;
  owner->watch(writer.get(), POLLOUT, [&owner, &heldInside, captured](short) {
    owner.reset();
    heldInside = captured.use_count();
  });
  turnLoop();
  EXPECT_FALSE(owner);
  EXPECT_EQ(heldInside, 2);
  EXPECT_EQ(captured.use_count(), 1);
}

TEST_F(FdSourceTest, OnlyWhoRecursesIsCalledByALoopInsideTheCall) {
  for (const bool recurses : {false, true}) {
    calls = 0;
    source.watch(writer.get(), POLLOUT,
                 [&](short) {
                   if (++calls == 1) turnLoop();
                   source.stop();
                 },
                 {.recurses = recurses});
    turnLoop();
    EXPECT_EQ(calls, recurses ? 2 : 1);
  }
}

}  // namespace
