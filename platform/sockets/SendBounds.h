// Limits of all connections between processes: the size of a message, the amount queued for a peer
// that does not read, and what happens beyond these. Any thread.
//
// A connection is shared by many senders, so exceeding a limit must not close it.
#pragma once

#include <cstddef>

namespace Tessel::Platform {

enum class SendOutcome {
  Sent,      // or queued, in order, until the peer reads
  TooLarge,  // not sent; the connection stays open
  Full,      // not sent: the peer has not read earlier messages; the connection stays open
  Broken,    // the peer is gone, or sends requests without reading the answers
};

// The maximum size of one message, in bytes.
inline constexpr std::size_t largestMessage = 64u << 20;

struct SendBounds {
  // Queued bytes of large messages. Small messages have the same amount in addition, so that large
  // data does not displace events.
  static constexpr std::size_t bound = 64u << 20;
  static constexpr std::size_t smallMessage = 64u << 10;
  // Answers must be delivered and have a larger limit; beyond it the connection is closed.
  static constexpr std::size_t boundForAnswers = 4 * bound;

  static constexpr SendOutcome admit(std::size_t queued, std::size_t size, bool isAnswer) {
    if (isAnswer) {
      return queued + size <= boundForAnswers ? SendOutcome::Sent : SendOutcome::Broken;
    }
    const std::size_t most = size <= smallMessage ? 2 * bound : bound;
    return queued == 0 || queued + size <= most ? SendOutcome::Sent : SendOutcome::Full;
  }
};

}  // namespace Tessel::Platform
