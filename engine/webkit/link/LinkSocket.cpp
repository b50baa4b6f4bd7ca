// One end of a page link: frames over a stream socket.
#include "engine/webkit/link/LinkSocket.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace link_protocol {

using Tessel::Platform::isFull;
using Tessel::Platform::SendOutcome;
using Tessel::Platform::trySend;

namespace {

constexpr std::size_t sendChunk = 64u << 10;
constexpr std::size_t readChunk = 64u << 10;
constexpr std::size_t mostPerReceive = 8u << 20;

}  // namespace

SendOutcome LinkSocket::send(FrameKind kind, std::uint32_t id, std::uint64_t page,
                             std::string_view payload) {
  if (payload.size() > maximumPayload) return SendOutcome::TooLarge;
  FrameHeader header{};
  header.size = static_cast<std::uint32_t>(payload.size());
  header.kind = static_cast<std::uint32_t>(kind);
  header.id = id;
  header.page = page;
  const std::string_view head(reinterpret_cast<const char*>(&header), sizeof header);

  const std::size_t size = head.size() + payload.size();
  const SendOutcome outcome = unsent_.admit(size, kind == FrameKind::Answer);
  if (outcome != SendOutcome::Sent) return outcome;
  std::size_t sent = 0;
  if (!hasUnsent()) {
    const std::array<iovec, 2> parts{{{const_cast<char*>(head.data()), head.size()},
                                      {const_cast<char*>(payload.data()), payload.size()}}};
    const ssize_t count = trySend(socket_.get(), parts);
    if (count < 0 && !isFull(errno)) return SendOutcome::Broken;
    if (count > 0) sent = static_cast<std::size_t>(count);
    if (sent == size) return SendOutcome::Sent;
  }
  // Small frames go out together.
  if (!hasUnsent() || unsent_.last().size() >= sendChunk) unsent_.add({});
  unsent_.changeLast([&](std::string& rest) {
    if (sent < head.size()) rest.append(head.substr(sent));
    rest.append(payload.substr(sent - std::min(sent, head.size())));
  });
  return SendOutcome::Sent;
}

bool LinkSocket::flush() {
  return unsent_.flush([this](std::string_view piece, std::size_t sent) {
    return trySend(socket_.get(), piece.substr(sent));
  });
}

bool LinkSocket::flushAll() {
  while (flush()) {
    if (!hasUnsent()) return true;
    pollfd writable{socket_.get(), POLLOUT, 0};
    if (::poll(&writable, 1, -1) < 0 && errno != EINTR) return false;
  }
  return false;
}

bool LinkSocket::receive(std::deque<Frame>& frames, Mode mode) {
  std::array<char, readChunk> chunk;
  int flags = mode == Mode::Wait ? 0 : MSG_DONTWAIT;
  // Bounded, so that a peer that never stops writing does not block the reader.
  for (std::size_t taken = 0; taken < mostPerReceive; taken += chunk.size()) {
    const ssize_t count = ::recv(socket_.get(), chunk.data(), chunk.size(), flags);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 && errno == EAGAIN) return true;
    if (count <= 0) return false;
    received_.append(chunk.data(), static_cast<std::size_t>(count));
    if (!parse(frames)) return false;
    // A chunk that was not filled emptied the socket.
    if (static_cast<std::size_t>(count) < chunk.size()) return true;
    flags = MSG_DONTWAIT;
  }
  return true;
}

bool LinkSocket::parse(std::deque<Frame>& frames) {
  std::size_t at = 0;
  while (received_.size() - at >= sizeof(FrameHeader)) {
    FrameHeader header;
    std::memcpy(&header, received_.data() + at, sizeof header);
    if (header.size > maximumPayload || header.kind >= frameKindCount) return false;
    if (received_.size() - at - sizeof header < header.size) break;
    frames.push_back({static_cast<FrameKind>(header.kind), header.id, header.page,
                      received_.substr(at + sizeof header, header.size)});
    at += sizeof header + header.size;
  }
  received_.erase(0, at);
  return true;
}

}  // namespace link_protocol
