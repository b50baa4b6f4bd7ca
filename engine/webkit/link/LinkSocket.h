// One end of a page link: frames over a stream socket. Compiled into the program and into its
// module in web processes.
//
// Not thread safe: the owner serialises.
#pragma once

#include "engine/webkit/link/Frame.h"
#include "platform/base/UniqueFd.h"
#include "platform/sockets/SendQueue.h"

#include <deque>
#include <string>
#include <string_view>

namespace link_protocol {

class LinkSocket {
 public:
  explicit LinkSocket(Tessel::Platform::UniqueFd socket) : socket_(std::move(socket)) {}

  int fd() const { return socket_.get(); }

  // Sends as much as the socket takes without blocking and keeps the rest, in order, for flush(),
  // within the bounds of SendBounds.
  Tessel::Platform::SendOutcome send(FrameKind kind, std::uint32_t id, std::uint64_t page,
                                     std::string_view payload);
  bool flush();
  bool hasUnsent() const { return !unsent_.isEmpty(); }
  // Blocks until everything is sent; false when the link is broken.
  bool flushAll();

  enum class Mode { Poll, Wait };
  // Appends the frames that have arrived; with Wait, blocks until there is something to read.
  // False when the peer has gone or sent something that is no frame; the frames before that are
  // appended all the same.
  bool receive(std::deque<Frame>& frames, Mode mode);

 private:
  bool parse(std::deque<Frame>& frames);

  Tessel::Platform::UniqueFd socket_;
  Tessel::Platform::SendQueue<std::string> unsent_;
  std::string received_;
};

}  // namespace link_protocol
