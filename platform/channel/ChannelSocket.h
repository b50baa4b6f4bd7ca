// One end of a message channel between two processes: whole messages, each a list of blobs, over a
// socket that keeps their borders (SOCK_SEQPACKET). A message that is too large for the socket goes
// through a sealed memory file that is passed along.
//
// Not thread safe: the owner serialises. The other end is not trusted: counts, lengths and files
// are checked before anything is read.
#pragma once

#include "platform/base/UniqueFd.h"
#include "platform/channel/MessageBlobs.h"
#include "platform/sockets/SendQueue.h"

#include <memory>
#include <string>
#include <utility>

namespace Tessel::Platform {

// A message as it came: its blobs point into memory that it owns, and that it uses again for the
// next one.
class ReceivedMessage {
 public:
  Blobs blobs() const { return blobs_; }

 private:
  friend class ChannelSocket;
  struct Unmap {
    std::size_t size;
    void operator()(void* memory) const;
  };

  BlobList blobs_;
  std::unique_ptr<char[]> bytes_;
  std::unique_ptr<void, Unmap> mapping_;
};

class ChannelSocket {
 public:
  // Larger messages travel in memory files: the kernel's buffers hold some 200 kB.
  static constexpr std::size_t largestDatagram = 32u << 10;

  ChannelSocket() = default;
  explicit ChannelSocket(UniqueFd socket) : socket_(std::move(socket)) {}

  // Two ends of one channel; both empty, with errno set, on failure.
  static std::pair<ChannelSocket, ChannelSocket> pair();

  int fd() const { return socket_.get(); }
  // Releases the descriptor for another use; unsent data are lost.
  UniqueFd release() { return std::move(socket_); }
  explicit operator bool() const { return bool(socket_); }

  // Sends without ever blocking; what the socket does not take is kept, in order, for flush(),
  // within the bounds of SendBounds. A message is as large as all its blobs.
  SendOutcome send(Blobs blobs, bool isAnswer = false);
  bool flush();
  bool hasUnsent() const { return !unsent_.isEmpty(); }

  enum class Outcome {
    Message,    // there is one
    Nothing,    // not now
    Closed,     // the peer is gone
    Malformed,  // a malformed message; the channel cannot be used any more
  };
  Outcome receive(ReceivedMessage& message);

 private:
  // A datagram, and what goes with it in a memory file. The file is made when it is sent: a queue
  // of open files would soon be too many.
  struct Datagram {
    std::string bytes;
    std::string fileContent;
    std::size_t size() const { return bytes.size() + fileContent.size(); }
  };

  struct Preamble;
  // Bytes, or -1 with errno set.
  ssize_t sendNow(const Datagram& datagram) const;
  ssize_t sendNow(const Preamble& preamble, Blobs blobs) const;

  UniqueFd socket_;
  SendQueue<Datagram> unsent_;
};

}  // namespace Tessel::Platform
