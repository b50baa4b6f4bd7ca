// The peer of a link, scripted by a test frame by frame. Every wait has a deadline. One thread at a
// time.
#pragma once

#include "engine/webkit/link/LinkSocket.h"
#include "tests/support/LocalSocket.h"
#include "tests/support/Waiting.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <chrono>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <utility>

namespace test_support {

using Tessel::Platform::Testing::Deadline;

class ScriptedPeer {
 public:
  using Frame = link_protocol::Frame;
  using FrameKind = link_protocol::FrameKind;

  ScriptedPeer() : socket_(Tessel::Platform::UniqueFd()) {}
  explicit ScriptedPeer(Tessel::Platform::UniqueFd socket) : socket_(std::move(socket)) {}

  void send(FrameKind kind, std::uint32_t id, std::uint64_t page, std::string_view payload) {
    // Errors are ignored: the peer may have closed on purpose; a missing answer is detected later.
    static_cast<void>(socket_.send(kind, id, page, payload) ==
                          Tessel::Platform::SendOutcome::Sent &&
                      socket_.flushAll());
  }
  // Sends the header of a frame whose payload follows later or never.
  void sendHeader(FrameKind kind, std::uint32_t size) {
    const link_protocol::FrameHeader header{size, static_cast<std::uint32_t>(kind), 0, 0, 0};
    sendBytes({reinterpret_cast<const char*>(&header), sizeof header});
  }
  void sendBytes(std::string_view bytes) {
    EXPECT_EQ(::send(socket_.fd(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
  }
  void answer(const Frame& question, std::string_view payload) {
    send(FrameKind::Answer, question.id, question.page, payload);
  }

  // The next frame; empty if either end has closed, or at the deadline, which is a failure.
  std::optional<Frame> next() {
    while (frames_.empty()) {
      if (socket_.fd() < 0) return std::nullopt;
      pollfd readable{socket_.fd(), POLLIN, 0};
      constexpr auto limit = std::chrono::duration_cast<std::chrono::milliseconds>(Deadline);
      if (::poll(&readable, 1, static_cast<int>(limit.count())) != 1) {
        ADD_FAILURE() << "nothing arrived";
        return std::nullopt;
      }
      const bool alive = socket_.receive(frames_, link_protocol::LinkSocket::Mode::Poll);
      if (!alive && frames_.empty()) return std::nullopt;
    }
    Frame frame = std::move(frames_.front());
    frames_.pop_front();
    return frame;
  }
  // The next frame, which must be of that kind; an empty one after a failure.
  Frame next(FrameKind kind) {
    auto frame = next();
    EXPECT_TRUE(frame && frame->kind == kind)
        << "expected kind " << static_cast<unsigned int>(kind) << ", got "
        << (frame ? std::to_string(static_cast<unsigned int>(frame->kind)) : "the end");
    return frame && frame->kind == kind ? std::move(*frame) : Frame();
  }
  bool hasGone() { return !next(); }
  // Both without waiting.
  bool isAtEnd() {
    return !socket_.receive(frames_, link_protocol::LinkSocket::Mode::Poll) && frames_.empty();
  }
  bool hasFrame() {
    static_cast<void>(socket_.receive(frames_, link_protocol::LinkSocket::Mode::Poll));
    return !frames_.empty();
  }
  void close() { socket_ = link_protocol::LinkSocket(Tessel::Platform::UniqueFd()); }

 private:
  link_protocol::LinkSocket socket_;
  std::deque<Frame> frames_;
};

// Runs a script in a thread and waits for its end.
class Script {
 public:
  explicit Script(std::function<void()> run) : thread_(std::move(run)) {}
  ~Script() { finish(); }
  void finish() {
    if (thread_.joinable()) thread_.join();
  }

 private:
  std::thread thread_;
};

}  // namespace test_support
