// When the page that drives the application is tried again after it has failed, and when not any
// more. Plain bookkeeping; any thread.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <deque>

class Retries {
 public:
  using Clock = std::chrono::steady_clock;

  // How long to wait after a failure: a second, and twice as long after each further one, up to a
  // minute. After an attempt that has lasted for that minute it is a second again.
  std::chrono::seconds pauseAfterFailure(Clock::time_point now) {
    if (now - nextAttempt_ > longestPause) pause_ = std::chrono::seconds(0);
    pause_ = std::clamp(pause_ * 2, std::chrono::seconds(1), longestPause);
    nextAttempt_ = now + pause_;
    return pause_;
  }

  // The page's process has ended. False when that has happened so often that trying again is no
  // use: a load that fails waits for somebody else, who may come; a process that ends does not.
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
