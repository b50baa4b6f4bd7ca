// A stream that counts its traffic (received since the last whole message, sent) and disconnects a
// peer that sends more than allowed. Main thread.
//
// The WebSocket library limits the size of a frame, but neither that of a fragmented message nor
// the data queued for a peer that does not read.
#pragma once

#include <cstdint>
#include <memory>

using GIOStream = struct _GIOStream;

namespace Tessel::Platform {

// The counters, shared with the stream.
struct StreamMeter {
  std::uint64_t mostUnfinished = 0;  // limit of bytes received within one message
  std::uint64_t unfinished = 0;      // received since this was last reset to 0
  std::uint64_t sinceRest = 0;       // read since it last would have blocked
  std::uint64_t written = 0;         // total accepted by the kernel
};

// Wraps a stream; both directions must be pollable, as sockets are. The result owns the stream and
// closes it when closed. Reading fails with G_IO_ERROR_MESSAGE_TOO_LARGE beyond the meter's limit.
GIOStream* meteredStream(GIOStream* stream, const std::shared_ptr<StreamMeter>& meter);

}  // namespace Tessel::Platform
