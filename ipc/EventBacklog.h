// What a child process has posted for the chrome and the chrome has not been told yet. A child may
// post more than any page can take: what is too much is dropped here, at its own cost.
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

  // The chrome is told of so many events a second, of all children together, and of so many at once
  // of a child that was quiet. 638 000 events in a row kept a chrome's page busy for 12 seconds, so
  // this is a twentieth of its time.
  static constexpr double perSecond = 2000;
  static constexpr double burst = 512;
  // What may wait: events, and bytes of their data.
  static constexpr std::size_t mostEvents = 4096;
  static constexpr std::size_t mostBytes = 16u << 20;

  // Events of which there are too many are dropped, the oldest first, beginning with the kind of
  // which there are most (by web view and type): what a web view says seldom stays, and so does
  // what it said last.
  void push(Event event);
  // The next one whose time has come, in the order of push(). `sharers` children have a backlog at
  // this moment, this one included.
  std::optional<Event> pop(Clock::time_point now, std::size_t sharers);
  // The next one, whatever the time.
  std::optional<Event> popAny();

  bool isEmpty() const { return events_.empty(); }
  std::size_t size() const { return events_.size(); }
  // How many were dropped since the last call.
  std::size_t takeDropped();

 private:
  static std::size_t bytesOf(const Event& event);
  void drop();

  std::deque<Event> events_;
  std::size_t bytes_ = 0;
  std::size_t dropped_ = 0;
  double tokens_ = burst;
  Clock::time_point refilled_{};
};
