// Handling of too many pending events.
#include "ipc/EventBacklog.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace std::chrono_literals;
using Tessel::Platform::String;

constexpr auto noise = EventType::CaretChanged;

EventBacklog::Event event(unsigned int handle, EventType type, const std::string& data = "{}") {
  return {handle, type, String(data), 0};
}

TEST(EventBacklogTest, FewAreToldAtOnceAndManyAtTheirPace) {
  EventBacklog backlog;
  auto now = EventBacklog::Clock::now();
  for (int i = 0; i < 3000; ++i) backlog.push(event(2, noise, std::to_string(i)));
  int told = 0;
  const auto takeDue = [&](std::size_t sharers) {
    int count = 0;
    for (; const auto next = backlog.pop(now, sharers); ++count, ++told) {
      EXPECT_EQ(next->data.toStdString(), std::to_string(told)) << "in order";
    }
    return count;
  };
  EXPECT_EQ(takeDue(1), static_cast<int>(EventBacklog::burst));
  EXPECT_EQ(takeDue(1), 0);
  now += 100ms;
  EXPECT_NEAR(takeDue(1), EventBacklog::perSecond / 10, 1);
  now += 100ms;
  EXPECT_NEAR(takeDue(4), EventBacklog::perSecond / 40, 1) << "the others have their share";
  EXPECT_EQ(backlog.takeDropped(), 0u);
}

TEST(EventBacklogTest, WhatIsDroppedIsTheOldestOfTheKindOfWhichThereIsMost) {
  EventBacklog backlog;
  backlog.push(event(3, EventType::Created));
  for (int i = 0; i < 100'000; ++i) {
    backlog.push(event(2, noise, std::to_string(i)));
    ASSERT_LE(backlog.size(), EventBacklog::mostEvents);
  }
  backlog.push(event(2, EventType::Destroyed));
  EXPECT_GT(backlog.takeDropped(), 90'000u);
  EXPECT_EQ(backlog.popAny()->type, EventType::Created);
  EventBacklog::Event last = event(0, noise);
  std::string lastNoise;
  while (auto next = backlog.popAny()) {
    if (next->type == noise) lastNoise = next->data.toStdString();
    last = std::move(*next);
  }
  EXPECT_EQ(lastNoise, "99999");
  EXPECT_EQ(last.type, EventType::Destroyed);
}

TEST(EventBacklogTest, ManyKindsAndLargeEventsHaveNoMoreRoom) {
  EventBacklog many;
  for (unsigned int i = 0; i < 20'000; ++i) {
    many.push(event(i, noise));
    ASSERT_LE(many.size(), EventBacklog::mostEvents);
  }
  EventBacklog large;
  large.push(event(3, EventType::Created));
  for (int i = 0; i < 40; ++i) large.push(event(2, noise, std::string(3u << 20, 'x')));
  std::size_t bytes = 0;
  EXPECT_EQ(large.popAny()->type, EventType::Created);
  while (const auto next = large.popAny()) bytes += next->data.length();
  EXPECT_LE(bytes, EventBacklog::mostBytes);
  EXPECT_GT(bytes, 0u);
}

}  // namespace
