// The bounds that all connections between processes share: how large one message may be, how much
// is kept for a peer that does not read, and what becomes of what exceeds that. Any thread.
//
// A connection carries the messages of many: one that is too large, or too many, must not end it.
#pragma once

#include <cstddef>

namespace Tessel::Platform {

enum class SendOutcome {
  Sent,      // or kept until the peer reads; in order
  TooLarge,  // not sent; the connection lives
  Full,      // not sent: the peer has not read what came before; the connection lives
  Broken,    // the peer has gone, or asks without reading the answers
};

// Bytes of one message.
inline constexpr std::size_t largestMessage = 64u << 20;

struct SendBounds {
  // Bytes that are kept of large messages; small ones have as much again to themselves, so that
  // what is large does not displace the events that tell what there is.
  static constexpr std::size_t bound = 64u << 20;
  static constexpr std::size_t smallMessage = 64u << 10;
  // An answer is owed, and so has more room; a peer that asks on beyond it is no peer.
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
