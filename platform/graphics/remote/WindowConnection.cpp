// One end of the connection between a child process's windows and the application.
#include "platform/graphics/remote/WindowConnection.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <utility>

namespace Tessel::Platform::Graphics::Remote {

namespace {

// Limit per iteration of the main loop, so that other sources are not starved.
constexpr int recordsPerTurn = 64;

}  // namespace

WindowConnection::WindowConnection(UniqueFd socket, Client& client, int priority)
    : socket_(std::move(socket)), client_(&client), alive_(std::make_shared<bool>(true)) {
  source_.watch(
      socket_.get(),
      [this] { return static_cast<short>(unsent_.isEmpty() ? POLLIN : POLLIN | POLLOUT); },
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
  unsent_ = {};
  client_ = nullptr;
}

void WindowConnection::drop(const char* why) {
  Client* client = client_;
  close();
  if (client) client->closed(why);
}

void WindowConnection::sendBytes(std::span<const char> bytes, int file, std::uint64_t key) {
  if (!client_) return;
  const std::string_view record(bytes.data(), bytes.size());
  if (unsent_.isEmpty()) {
    // A closed connection is detected when reading, so that senders need not handle closed().
    if (trySend(socket_.get(), record, file) >= 0 || !isFull(errno)) return;
  } else if (key != 0 && unsent_.last().key == key) {
    return unsent_.changeLast([&](Unsent& last) { last.bytes = record; });
  }
  // Over the limit nothing is queued, and the next iteration of the loop drops the peer.
  if (unsent_.count() > maximumUnsent) return;
  UniqueFd copy(file >= 0 ? ::fcntl(file, F_DUPFD_CLOEXEC, 0) : -1);
  unsent_.add({std::string(record), std::move(copy), key});
  // The socket may never become writable again, but shutting it down makes it readable.
  if (unsent_.count() > maximumUnsent) ::shutdown(socket_.get(), SHUT_RDWR);
}

void WindowConnection::flush() {
  if (unsent_.count() > maximumUnsent) return drop("it does not read what it is sent");
  unsent_.flush([this](const Unsent& next, std::size_t) {
    const ssize_t sent = trySend(socket_.get(), next.bytes, next.file.get());
    return sent < 0 && !isFull(errno) ? static_cast<ssize_t>(next.size()) : sent;
  });
}

void WindowConnection::serve() {
  const std::shared_ptr<bool> alive = alive_;
  std::array<char, largestRecord> bytes;
  for (int i = 0; i < recordsPerTurn && client_; ++i) {
    Received received = tryReceive(socket_.get(), bytes);
    if (received.size < 0 && errno == EAGAIN) break;
    if (received.size <= 0) return drop(nullptr);
    // A peer that sends several files tries to exhaust our descriptors.
    if (received.files > 1 || !received.isWhole) return drop("it is too large");
    const long now = g_get_monotonic_time() / G_USEC_PER_SEC;
    if (std::exchange(second_, now) != now) receivedInSecond_ = 0;
    if (++receivedInSecond_ > maximumPerSecond) return drop("there are too many of them");
    const char* wrong = client_->receive({bytes.data(), static_cast<std::size_t>(received.size)},
                                         std::move(received.file));
    if (!*alive) return;
    if (wrong) return drop(wrong);
  }
  if (client_) client_->received();
}

}  // namespace Tessel::Platform::Graphics::Remote
