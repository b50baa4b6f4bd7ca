// Backoff of loads that are repeated by themselves, and retry limit for the page that drives the
// application. Any thread; not thread safe.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <deque>

class Retries {
 public:
  using Clock = std::chrono::steady_clock;

  // The delay after a failure: one second, doubled after each further failure, up to a minute.
  // Resets to one second after an attempt that lasted for longer than a minute.
  std::chrono::seconds pauseAfterFailure(Clock::time_point now) {
    if (now - nextAttempt_ > longestPause) pause_ = std::chrono::seconds(0);
    pause_ = std::clamp(pause_ * 2, std::chrono::seconds(1), longestPause);
    nextAttempt_ = now + pause_;
    return pause_;
  }

  // Counts an end of the page's process. False after too many: failed loads depend on a server that
  // may return, but a process that keeps crashing does not recover.
  bool processEnded(Clock::time_point now) {
    ends_.push_back(now);
    while (now - ends_.front() > window) ends_.pop_front();
    return ends_.size() < mostEnds;
  }
  static constexpr std::size_t mostEnds = 10;
  static constexpr std::chrono::minutes window{10};

 private:
  static constexpr std::chrono::seconds longestPause{60};

  std::chrono::seconds pause_{0};
  Clock::time_point nextAttempt_;
  std::deque<Clock::time_point> ends_;  // within the window
};
