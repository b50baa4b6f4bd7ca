// One end of the connection between a child process's windows and the application.
#include "platform/graphics/remote/WindowConnection.h"

#include "platform/os/PassedFile.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace Tessel::Platform::Graphics::Remote {

namespace {

// One turn of the main loop takes at most so many, so that the rest of it gets its turn.
constexpr int recordsPerTurn = 64;

}  // namespace

WindowConnection::WindowConnection(UniqueFd socket, Client& client, int priority)
    : socket_(std::move(socket)), client_(&client), alive_(std::make_shared<bool>(true)) {
  const int flags = ::fcntl(socket_.get(), F_GETFL);
  if (flags >= 0) ::fcntl(socket_.get(), F_SETFL, flags | O_NONBLOCK);
  source_.watch(
      socket_.get(),
      [this] { return static_cast<short>(unsent_.empty() ? POLLIN : POLLIN | POLLOUT); },
      [this](short) {
        const std::shared_ptr<bool> alive = alive_;
        flush();
        if (*alive) serve();
      },
      {.name = "windows", .priority = priority, .recurses = true});
}

WindowConnection::~WindowConnection() {
  *alive_ = false;
  close();
}

void WindowConnection::close() {
  source_.stop();
  socket_.reset();
  unsent_.clear();
  client_ = nullptr;
}

void WindowConnection::drop(const char* why) {
  Client* client = client_;
  close();
  if (client) client->closed(why);
}

WindowConnection::Sent WindowConnection::sendNow(std::span<const char> bytes, int file) const {
  iovec part{const_cast<char*>(bytes.data()), bytes.size()};
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  if (file >= 0) {
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    cmsghdr* rights = CMSG_FIRSTHDR(&message);
    rights->cmsg_level = SOL_SOCKET;
    rights->cmsg_type = SCM_RIGHTS;
    rights->cmsg_len = CMSG_LEN(sizeof(int));
    std::memcpy(CMSG_DATA(rights), &file, sizeof file);
  }
  for (;;) {
    if (::sendmsg(socket_.get(), &message, MSG_NOSIGNAL | MSG_DONTWAIT) >= 0) return Sent::Yes;
    if (errno == EINTR) continue;
    const bool full = errno == EAGAIN || errno == ENOBUFS || errno == ETOOMANYREFS;
    return full ? Sent::NotNow : Sent::Never;
  }
}

void WindowConnection::sendBytes(std::span<const char> bytes, int file, std::uint64_t key) {
  if (!client_) return;
  if (unsent_.empty()) {
    // A peer that has gone is found by reading: nobody who sends has to expect closed().
    if (sendNow(bytes, file) != Sent::NotNow) return;
  } else if (key != 0 && unsent_.back().key == key) {
    unsent_.back().bytes.assign(bytes.data(), bytes.size());
    return;
  }
  // Beyond the limit nothing is kept, and the next turn of the loop drops the peer.
  if (unsent_.size() > maximumUnsent) return;
  UniqueFd copy(file >= 0 ? ::fcntl(file, F_DUPFD_CLOEXEC, 0) : -1);
  unsent_.push_back({std::string(bytes.data(), bytes.size()), std::move(copy), key});
  // The socket may never be writable again, but it is readable once it is shut.
  if (unsent_.size() > maximumUnsent) ::shutdown(socket_.get(), SHUT_RDWR);
}

void WindowConnection::flush() {
  if (unsent_.size() > maximumUnsent) return drop("it does not read what it is sent");
  while (!unsent_.empty()) {
    const Unsent& next = unsent_.front();
    if (sendNow(next.bytes, next.file.get()) == Sent::NotNow) return;
    unsent_.pop_front();
  }
}

void WindowConnection::serve() {
  const std::shared_ptr<bool> alive = alive_;
  std::array<char, largestRecord> bytes;
  for (int i = 0; i < recordsPerTurn && client_; ++i) {
    iovec part{bytes.data(), bytes.size()};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(2 * sizeof(int))> control{};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const ssize_t count = ::recvmsg(socket_.get(), &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 && errno == EAGAIN) break;
    if (count <= 0) return drop(nullptr);
    std::size_t files = 0;
    UniqueFd file = takePassedFile(message, files);
    // More than one is a peer that fills the table of descriptors.
    if (files > 1 || (message.msg_flags & (MSG_TRUNC | MSG_CTRUNC))) return drop("it is too large");
    const long now = g_get_monotonic_time() / G_USEC_PER_SEC;
    if (std::exchange(second_, now) != now) receivedInSecond_ = 0;
    if (++receivedInSecond_ > maximumPerSecond) return drop("there are too many of them");
    const char* wrong =
        client_->receive({bytes.data(), static_cast<std::size_t>(count)}, std::move(file));
    if (!*alive) return;
    if (wrong) return drop(wrong);
  }
  if (client_) client_->received();
}

}  // namespace Tessel::Platform::Graphics::Remote
