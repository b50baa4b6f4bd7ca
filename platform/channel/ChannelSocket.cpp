// One end of a message channel between two processes.
//
// A datagram is a header, a length for each blob, and the blobs' bytes one after the other; with a
// file, the bytes are in there instead.
#include "platform/channel/ChannelSocket.h"

#include "platform/os/PassedFile.h"

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

constexpr int seals = F_SEAL_SEAL | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE;

UniqueFd fileOf(const std::string& content) {
  UniqueFd file(::memfd_create("message", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  if (!file) return file;
  for (std::size_t written = 0; written < content.size();) {
    const ssize_t count = ::write(file.get(), content.data() + written, content.size() - written);
    if (count < 0 && errno != EINTR) return UniqueFd();
    if (count > 0) written += static_cast<std::size_t>(count);
  }
  if (::fcntl(file.get(), F_ADD_SEALS, seals) != 0) return UniqueFd();
  return file;
}

}  // namespace

void ReceivedMessage::Unmap::operator()(void* memory) const {
  ::munmap(memory, size);
}

ChannelSocket::ChannelSocket(UniqueFd socket) : socket_(std::move(socket)) {
  const int flags = ::fcntl(socket_.get(), F_GETFL);
  if (flags < 0 || ::fcntl(socket_.get(), F_SETFL, flags | O_NONBLOCK) != 0) socket_.reset();
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

  // False for what is too large. All blobs together may be as long as one text may be.
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

// Too many descriptors on their way (ETOOMANYREFS) is a full socket by another name.
bool isFull(int error) {
  return error == EAGAIN || error == ENOBUFS || error == ETOOMANYREFS;
}

}  // namespace

ChannelSocket::Sent ChannelSocket::sendNow(std::string_view bytes) const {
  while (::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT) < 0) {
    if (errno != EINTR) return isFull(errno) ? Sent::None : Sent::Broken;
  }
  return Sent::All;
}

ChannelSocket::Sent ChannelSocket::sendNow(std::span<const iovec> pieces,
                                           const std::string& fileContent) const {
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
  msghdr message{};
  message.msg_iov = const_cast<iovec*>(pieces.data());
  message.msg_iovlen = pieces.size();
  UniqueFd file;
  if (!fileContent.empty()) {
    file = fileOf(fileContent);
    if (!file) return errno == EMFILE || errno == ENFILE ? Sent::None : Sent::Broken;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    cmsghdr* part = CMSG_FIRSTHDR(&message);
    part->cmsg_level = SOL_SOCKET;
    part->cmsg_type = SCM_RIGHTS;
    part->cmsg_len = CMSG_LEN(sizeof(int));
    const int descriptor = file.get();
    std::memcpy(CMSG_DATA(part), &descriptor, sizeof descriptor);
  }
  while (::sendmsg(socket_.get(), &message, MSG_NOSIGNAL | MSG_DONTWAIT) < 0) {
    if (errno != EINTR) return isFull(errno) ? Sent::None : Sent::Broken;
  }
  return Sent::All;
}

ChannelSocket::Sent ChannelSocket::sendNow(const Datagram& datagram) const {
  const iovec whole{const_cast<char*>(datagram.bytes.data()), datagram.bytes.size()};
  return sendNow({&whole, 1}, datagram.fileContent);
}

// Of a message that needs no file.
ChannelSocket::Sent ChannelSocket::sendNow(const Preamble& preamble, Blobs blobs) const {
  if (preamble.size() + preamble.header.size <= smallDatagram) {
    std::array<char, smallDatagram> bytes;
    std::memcpy(bytes.data(), &preamble, preamble.size());
    char* end = bytes.data() + preamble.size();
    for (const Blob& blob : blobs) {
      if (blob.length > 0) std::memcpy(end, blob.data, blob.length);
      end += blob.length;
    }
    return sendNow(std::string_view(bytes.data(), end));
  }
  // Others copy nothing.
  std::array<iovec, BlobList::capacity + 1> pieces;
  pieces[0] = {const_cast<Preamble*>(&preamble), preamble.size()};
  for (std::size_t i = 0; i < blobs.size(); ++i) {
    pieces[i + 1] = {const_cast<void*>(blobs[i].data), blobs[i].length};
  }
  return sendNow({pieces.data(), blobs.size() + 1}, std::string());
}

SendOutcome ChannelSocket::outcomeOf(Sent sent) {
  return sent == Sent::All ? SendOutcome::Sent : SendOutcome::Broken;
}

SendOutcome ChannelSocket::send(Blobs blobs, bool isAnswer) {
  static_assert(offsetof(Preamble, lengths) == sizeof(DatagramHeader));
  Preamble preamble;
  if (!socket_) return SendOutcome::Broken;
  if (!preamble.fill(blobs)) return SendOutcome::TooLarge;
  if (const SendOutcome outcome =
          SendQueue::admit(unsentBytes_, preamble.size() + preamble.header.size, isAnswer);
      outcome != SendOutcome::Sent) {
    return outcome;
  }
  const bool inFile = preamble.header.flags == DatagramHeader::inFile;
  if (unsent_.empty() && !inFile) {
    const Sent sent = sendNow(preamble, blobs);
    if (sent != Sent::None) return outcomeOf(sent);
  }
  Datagram datagram;
  datagram.bytes.assign(reinterpret_cast<const char*>(&preamble), preamble.size());
  std::string& content = inFile ? datagram.fileContent : datagram.bytes;
  content.reserve(content.size() + preamble.header.size);
  for (const Blob& blob : blobs) {
    content.append(static_cast<const char*>(blob.data), blob.length);
  }
  if (unsent_.empty() && inFile) {
    const Sent sent = sendNow(datagram);
    if (sent != Sent::None) return outcomeOf(sent);
  }
  unsentBytes_ += datagram.size();
  unsent_.push_back(std::move(datagram));
  return SendOutcome::Sent;
}

bool ChannelSocket::flush() {
  while (!unsent_.empty()) {
    const Sent sent = sendNow(unsent_.front());
    if (sent != Sent::All) return sent == Sent::None;
    unsentBytes_ -= unsent_.front().size();
    unsent_.pop_front();
  }
  return true;
}

ChannelSocket::Outcome ChannelSocket::receive(ReceivedMessage& message) {
  message.blobs_.clear();
  message.mapping_.reset();
  // Not filled with zeroes first: it is read into.
  if (!message.bytes_) message.bytes_ = std::make_unique_for_overwrite<char[]>(largestDatagram);
  iovec bytes{message.bytes_.get(), largestDatagram};
  alignas(cmsghdr) std::array<char, CMSG_SPACE(4 * sizeof(int))> control{};
  msghdr packet{};
  packet.msg_iov = &bytes;
  packet.msg_iovlen = 1;
  packet.msg_control = control.data();
  packet.msg_controllen = control.size();
  ssize_t received = -1;
  do {
    received = ::recvmsg(socket_.get(), &packet, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
  } while (received < 0 && errno == EINTR);
  if (received < 0) return errno == EAGAIN ? Outcome::Nothing : Outcome::Closed;
  if (received == 0) return Outcome::Closed;
  std::size_t files = 0;
  const UniqueFd file = takePassedFile(packet, files);
  if (packet.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) return Outcome::Malformed;

  const auto size = static_cast<std::size_t>(received);
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
    if (::fcntl(file.get(), F_GET_SEALS) != seals || ::fstat(file.get(), &status) != 0 ||
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
