// A stream that counts: what has arrived since the last whole message, what has left, and that ends
// a peer which sends more than it may. Main thread.
//
// The library that frames messages bounds a frame, but neither a message in many frames nor what
// waits for a peer that does not read.
#pragma once

#include <cstdint>
#include <memory>

using GIOStream = struct _GIOStream;

namespace Tessel::Platform {

// What a stream has counted, shared with it.
struct StreamMeter {
  std::uint64_t mostUnfinished = 0;  // bytes that may arrive without a whole message among them
  std::uint64_t unfinished = 0;      // what arrived since somebody set this to 0
  std::uint64_t sinceRest = 0;       // what was read without a look at it
  std::uint64_t written = 0;         // in all, as far as the kernel has taken it
};

// Wraps a stream; both ends must be pollable, as those of sockets are. The result holds the stream,
// and closes it when it is closed. Reading fails with G_IO_ERROR_MESSAGE_TOO_LARGE beyond the
// meter's limit.
GIOStream* meteredStream(GIOStream* stream, const std::shared_ptr<StreamMeter>& meter);

}  // namespace Tessel::Platform
