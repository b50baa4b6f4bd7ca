// A second process for tests of messages between processes. It must be forked before the test has a
// client or any thread: begin every such test with inOwnProcess, and create the peer first.
#pragma once

#include "platform/base/UniqueFd.h"
#include "platform/loop/MessageClient.h"
#include "tests/support/ChromeFixture.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>

namespace test_support {

// The peer's handler of messages.
class PeerHandler : public Tessel::Platform::MessageHandler {
 public:
  using Handle = std::function<void(Tessel::Platform::Message&)>;
  explicit PeerHandler(Handle handle) : handle_(std::move(handle)) {}
  void handleMessage(Tessel::Platform::Message& message) override { handle_(message); }

 private:
  Handle handle_;
};

class Peer {
 public:
  // Runs in the peer, which ends when it returns. The number is the first one sent to it.
  explicit Peer(const std::function<void(int)>& body) {
    int down[2];
    int up[2];
    if (::pipe(down) != 0 || ::pipe(up) != 0) std::abort();
    pid_ = ::fork();
    if (pid_ == 0) {
      ::alarm(30);
      separateMainContext();
      ::close(down[1]);
      ::close(up[0]);
      toOther = up[1];
      fromOther = down[0];
      int number = 0;
      if (::read(down[0], &number, sizeof number) == sizeof number) body(number);
      ::_exit(0);
    }
    ::close(down[0]);
    ::close(up[1]);
    write_.reset(down[1]);
    read_.reset(up[0]);
  }
  ~Peer() {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }

  pid_t pid() const { return pid_; }
  void tell(int number) {
    EXPECT_EQ(::write(write_.get(), &number, sizeof number), ssize_t(sizeof number));
  }
  // A number that the peer sent by say().
  int hear() {
    int number = -1;
    EXPECT_EQ(::read(read_.get(), &number, sizeof number), ssize_t(sizeof number));
    return number;
  }

  // In the peer.
  static void say(int number) {
    if (::write(toOther, &number, sizeof number) != sizeof number) ::_exit(3);
  }
  static int listen() {
    int number = -1;
    if (::read(fromOther, &number, sizeof number) != sizeof number) ::_exit(4);
    return number;
  }
  // In the peer: runs a main client that handles the test's messages, sends its channel id, and
  // serves until it is killed.
  static void serve(const PeerHandler::Handle& handle) {
    Tessel::Platform::MainMessageClient client(0, -1);
    PeerHandler handler(handle);
    client.installMessageHandler(&handler);
    client.registerPID(::getppid());
    client.serveDuringWaits();
    say(client.channelId());
    client.run();
  }

 private:
  static inline int toOther = -1;
  static inline int fromOther = -1;
  pid_t pid_ = -1;
  Tessel::Platform::UniqueFd write_;
  Tessel::Platform::UniqueFd read_;
};

}  // namespace test_support
