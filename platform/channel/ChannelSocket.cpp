// One end of a message channel between two processes.
//
// A datagram is a header, a length for each blob, and the blobs' bytes one after the other; with a
// file, the bytes are in there instead.
#include "platform/channel/ChannelSocket.h"

#include "platform/sockets/MemoryFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace Tessel::Platform {

namespace {

struct DatagramHeader {
  static constexpr std::uint32_t expectedMark = 0x50484d31;
  static constexpr std::uint32_t inFile = 1;

  std::uint32_t mark;
  std::uint32_t flags;
  std::uint32_t count;  // of the blobs
  std::uint32_t size;   // of all their bytes
};
static_assert(sizeof(DatagramHeader) == 16);

using Lengths = std::array<std::uint32_t, BlobList::capacity>;

}  // namespace

void ReceivedMessage::Unmap::operator()(void* memory) const {
  ::munmap(memory, size);
}

std::pair<ChannelSocket, ChannelSocket> ChannelSocket::pair() {
  int ends[2] = {-1, -1};
  if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) return {};
  return {ChannelSocket(UniqueFd(ends[0])), ChannelSocket(UniqueFd(ends[1]))};
}

// What stands before the blobs' bytes.
struct ChannelSocket::Preamble {
  DatagramHeader header{};
  Lengths lengths{};

  // False if too large. The limit of a single text applies to all blobs together.
  bool fill(Blobs blobs) {
    if (blobs.size() > BlobList::capacity) return false;
    std::size_t size = 0;
    for (std::size_t i = 0; i < blobs.size(); ++i) {
      if (blobs[i].length > largestMessage - size) return false;
      size += blobs[i].length;
      lengths[i] = static_cast<std::uint32_t>(blobs[i].length);
    }
    header = {DatagramHeader::expectedMark, 0, static_cast<std::uint32_t>(blobs.size()),
              static_cast<std::uint32_t>(size)};
    if (this->size() + size > ChannelSocket::largestDatagram) {
      header.flags = DatagramHeader::inFile;
    }
    return true;
  }
  // Header and table stand one after the other in memory.
  std::size_t size() const { return sizeof header + header.count * sizeof(std::uint32_t); }
};

namespace {

// Up to here a copy is cheaper than that the kernel looks at every piece.
constexpr std::size_t smallDatagram = 8192;

}  // namespace

ssize_t ChannelSocket::sendNow(const Datagram& datagram) const {
  if (datagram.fileContent.empty()) return trySend(socket_.get(), datagram.bytes);
  const UniqueFd file = sealedFile(datagram.fileContent);
  // Without a descriptor it waits, as for room.
  if (!file && (errno == EMFILE || errno == ENFILE)) errno = EAGAIN;
  if (!file || trySend(socket_.get(), datagram.bytes, file.get()) < 0) return -1;
  return static_cast<ssize_t>(datagram.size());
}

// Of a message that needs no file.
ssize_t ChannelSocket::sendNow(const Preamble& preamble, Blobs blobs) const {
  if (preamble.size() + preamble.header.size <= smallDatagram) {
    std::array<char, smallDatagram> bytes;
    std::memcpy(bytes.data(), &preamble, preamble.size());
    char* end = bytes.data() + preamble.size();
    for (const Blob& blob : blobs) {
      if (blob.length > 0) std::memcpy(end, blob.data, blob.length);
      end += blob.length;
    }
    return trySend(socket_.get(), std::string_view(bytes.data(), end));
  }
  // Others copy nothing.
  std::array<iovec, BlobList::capacity + 1> pieces;
  pieces[0] = {const_cast<Preamble*>(&preamble), preamble.size()};
  for (std::size_t i = 0; i < blobs.size(); ++i) {
    pieces[i + 1] = {const_cast<void*>(blobs[i].data), blobs[i].length};
  }
  return trySend(socket_.get(), {pieces.data(), blobs.size() + 1});
}

SendOutcome ChannelSocket::send(Blobs blobs, bool isAnswer) {
  static_assert(offsetof(Preamble, lengths) == sizeof(DatagramHeader));
  Preamble preamble;
  if (!socket_) return SendOutcome::Broken;
  if (!preamble.fill(blobs)) return SendOutcome::TooLarge;
  if (const SendOutcome outcome = unsent_.admit(preamble.size() + preamble.header.size, isAnswer);
      outcome != SendOutcome::Sent) {
    return outcome;
  }
  const bool inFile = preamble.header.flags == DatagramHeader::inFile;
  if (!hasUnsent() && !inFile) {
    if (sendNow(preamble, blobs) >= 0) return SendOutcome::Sent;
    if (!isFull(errno)) return SendOutcome::Broken;
  }
  Datagram datagram;
  datagram.bytes.assign(reinterpret_cast<const char*>(&preamble), preamble.size());
  std::string& content = inFile ? datagram.fileContent : datagram.bytes;
  content.reserve(content.size() + preamble.header.size);
  for (const Blob& blob : blobs) {
    content.append(static_cast<const char*>(blob.data), blob.length);
  }
  if (!hasUnsent() && inFile) {
    if (sendNow(datagram) >= 0) return SendOutcome::Sent;
    if (!isFull(errno)) return SendOutcome::Broken;
  }
  unsent_.add(std::move(datagram));
  return SendOutcome::Sent;
}

bool ChannelSocket::flush() {
  return unsent_.flush([this](const Datagram& next, std::size_t) { return sendNow(next); });
}

ChannelSocket::Outcome ChannelSocket::receive(ReceivedMessage& message) {
  message.blobs_.clear();
  message.mapping_.reset();
  // Not filled with zeroes first: it is read into.
  if (!message.bytes_) message.bytes_ = std::make_unique_for_overwrite<char[]>(largestDatagram);
  const Received received = tryReceive(socket_.get(), {message.bytes_.get(), largestDatagram});
  if (received.size < 0 && errno == EAGAIN) return Outcome::Nothing;
  if (received.size <= 0) return Outcome::Closed;
  if (!received.isWhole) return Outcome::Malformed;

  const UniqueFd& file = received.file;
  const auto size = static_cast<std::size_t>(received.size);
  DatagramHeader header{};
  if (size < sizeof header) return Outcome::Malformed;
  std::memcpy(&header, message.bytes_.get(), sizeof header);
  if (header.mark != DatagramHeader::expectedMark || header.flags > DatagramHeader::inFile ||
      header.count > BlobList::capacity || header.size > largestMessage) {
    return Outcome::Malformed;
  }
  const bool inFile = header.flags == DatagramHeader::inFile;
  const std::size_t start = sizeof header + header.count * sizeof(std::uint32_t);
  if (inFile != bool(file) || size != start + (inFile ? 0 : header.size)) return Outcome::Malformed;

  const char* data = message.bytes_.get() + start;
  if (inFile) {
    struct stat status {};
    // Sealed, it can neither change nor shrink under the reader.
    if (::fcntl(file.get(), F_GET_SEALS) != memoryFileSeals || ::fstat(file.get(), &status) != 0 ||
        status.st_size != static_cast<off_t>(header.size) || header.size == 0) {
      return Outcome::Malformed;
    }
    void* memory = ::mmap(nullptr, header.size, PROT_READ, MAP_PRIVATE, file.get(), 0);
    if (memory == MAP_FAILED) return Outcome::Malformed;
    message.mapping_ = {memory, ReceivedMessage::Unmap{header.size}};
    data = static_cast<const char*>(memory);
  }
  Lengths lengths{};
  std::memcpy(lengths.data(), message.bytes_.get() + sizeof header,
              header.count * sizeof(std::uint32_t));
  std::size_t left = header.size;
  for (std::size_t i = 0; i < header.count; ++i) {
    if (lengths[i] > left) return Outcome::Malformed;
    message.blobs_.add(data, lengths[i]);
    data += lengths[i];
    left -= lengths[i];
  }
  return left == 0 ? Outcome::Message : Outcome::Malformed;
}

}  // namespace Tessel::Platform
