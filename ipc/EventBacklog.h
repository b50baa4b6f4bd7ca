// The queue of events that a child process has posted and the chrome has not received yet. A child
// may post more than a page can handle: the excess is dropped here, at the cost of that child only.
//
// One thread, which passes the time in.
#pragma once

#include "platform/base/String.h"
#include "webview/events/EventType.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <optional>

class EventBacklog {
 public:
  using String = Tessel::Platform::String;
  using Clock = std::chrono::steady_clock;

  struct Event {
    unsigned int handle;
    std::optional<EventType> type;  // none: an error, whose text is the data
    String data;
    int integer;
  };

  // The rate limit in events per second, of all children together, and the burst per child after a
  // quiet period. 638 000 events in a row kept a chrome's page busy for 12 seconds, so this is a
  // twentieth of its time.
  static constexpr double perSecond = 2000;
  static constexpr double burst = 512;
  // Bounds of the queue: number of events, and bytes of their data.
  static constexpr std::size_t mostEvents = 4096;
  static constexpr std::size_t mostBytes = 16u << 20;

  // Beyond the bounds events are dropped, the oldest first, beginning with the most frequent kind
  // (by web view and type): rare events are kept, and so is the last of each kind.
  void push(Event event);
  // The next event that is due, in the order of push(). `sharers` is the number of children with a
  // backlog at this moment, including this one.
  std::optional<Event> pop(Clock::time_point now, std::size_t sharers);
  // The next event, ignoring the rate.
  std::optional<Event> popAny();

  bool isEmpty() const { return events_.empty(); }
  std::size_t size() const { return events_.size(); }
  // The number dropped since the last call.
  std::size_t takeDropped();

 private:
  void drop();

  std::deque<Event> events_;
  std::size_t bytes_ = 0;  // of the data
  std::size_t dropped_ = 0;
  double tokens_ = burst;
  Clock::time_point refilled_{};
};
