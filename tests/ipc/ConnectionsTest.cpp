// Messages between real processes.
#include "ipc/ProcessMessages.h"
#include "platform/Folders.h"
#include "platform/messages/Channels.h"
#include "platform/messages/Connections.h"
#include "platform/messages/MainThreadWait.h"
#include "tests/platform/StandardErrorPipe.h"
#include "tests/platform/Waiting.h"
#include "tests/support/ChromeFixture.h"
#include "tests/support/Peer.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <thread>

namespace {

using namespace Tessel::Platform;
using namespace std::chrono_literals;
using test_support::inOwnProcess;
using test_support::Peer;
using test_support::PeerHandler;
using Testing::iterateUntil;
using Testing::StandardErrorPipe;

void answer(const Message& message, bool value) {
  if (message.reply()) message.reply()->assign(&value, sizeof value);
}

// Asks the other end of a connection; its answer.
bool ask(int connection, unsigned int question) {
  DeleteWebViewMessage::Reply reply;
  MessageClient::sendMessage(std::make_unique<DeleteWebViewMessage>(question, &reply), connection);
  return reply.value();
}

void post(int connection, const String& name, const String& value = String()) {
  MessageClient::sendMessage(std::make_unique<SetEnvMessage>(name, value), connection);
}

// The test's end: a main client and what it has heard.
class Listener {
 public:
  Listener() { client.installMessageHandler(&handler); }
  ~Listener() { client.removeMessageHandler(&handler); }

  MainMessageClient client{0, -1};
  std::vector<std::string> heard;
  std::function<void(Message&)> onMessage;
  PeerHandler handler{[this](Message& message) {
    if (message.isPulse()) {
      heard.push_back("pulse " + std::to_string(message.type()) + " " +
                      std::to_string(message.integer()));
    } else if (message.type() == SetEnvMessage::messageType) {
      heard.push_back(static_cast<SetEnvMessage&>(message).name().toStdString());
    }
    if (onMessage) onMessage(message);
  }};
};

TEST(ConnectionsTest, AnswersComeBackAndTextsOfEverySizeCross) {
  inOwnProcess([] {
    Peer peer([](int) {
      std::string last;
      Peer::serve([&](Message& message) {
        if (message.type() == SetEnvMessage::messageType) {
          last = static_cast<SetEnvMessage&>(message).value().toStdString();
        } else if (message.type() == DeleteWebViewMessage::messageType) {
          answer(message,
                 last == std::string(static_cast<DeleteWebViewMessage&>(message).handle(), 'x'));
        }
      });
    });
    peer.start(0);
    const int channel = peer.hear();
    Listener self;
    const int connection = ConnectAttach(0, peer.pid(), channel, sideChannel, 0);
    ASSERT_GT(connection, 0);
    for (const unsigned int size : {0u, 1u, 5000u, 32u << 10, 3u << 20}) {
      post(connection, "x", std::string(size, 'x'));
      EXPECT_TRUE(ask(connection, size)) << size;
      EXPECT_FALSE(ask(connection, size + 1)) << size;
    }
    EXPECT_EQ(ConnectAttach(0, peer.pid(), channel + 1, sideChannel, 0), -1);
    EXPECT_EQ(ConnectAttach(0, ::getpid(), channel, sideChannel, 0), -1);
  });
}

TEST(ConnectionsTest, ACrowdOfPostsDuringAWaitComesWholeAndInOrderAfterIt) {
  inOwnProcess([] {
    constexpr int crowd = 100'000;
    Peer peer([](int channel) {
      int connection = -1;
      Peer::serve([&](Message& message) {
        if (connection < 0) connection = ConnectAttach(0, ::getppid(), channel, sideChannel, 0);
        for (int i = 0; i < crowd; ++i) post(connection, std::to_string(i));
        answer(message, true);
      });
    });
    Listener self;
    self.client.registerPID(peer.pid());
    peer.start(self.client.channelId());
    const int connection = ConnectAttach(0, peer.pid(), peer.hear(), sideChannel, 0);
    EXPECT_TRUE(ask(connection, 0));
    EXPECT_TRUE(self.heard.empty()) << "a post ran in the middle of a wait";
    ASSERT_TRUE(iterateUntil([&] { return self.heard.size() == crowd; }));
    for (int i = 0; i < crowd; ++i) ASSERT_EQ(self.heard[std::size_t(i)], std::to_string(i));
  });
}

// However many have come together.
TEST(ConnectionsTest, NothingIsDeliveredOnceTheLoopIsToEnd) {
  inOwnProcess([] {
    Peer peer([](int channel) {
      const int connection = ConnectAttach(0, ::getppid(), channel, sideChannel, 0);
      for (const char* name : {"first", "second", "third"}) post(connection, name);
      Peer::say(1);
      Peer::listen();
    });
    Listener self;
    self.client.registerPID(peer.pid());
    self.onMessage = [&](Message&) { self.client.exit(7); };
    peer.start(self.client.channelId());
    EXPECT_EQ(peer.hear(), 1);
    EXPECT_EQ(test_support::exitStatusOf(self.client), 7);
    EXPECT_EQ(self.heard, std::vector<std::string>{"first"});
  });
}

// As when a chrome reads a title while it answers an event of the same web view.
TEST(ConnectionsTest, BothEndsServeTheOtherWhileTheyWait) {
  inOwnProcess([] {
    Peer peer([](int channel) {
      int connection = -1;
      Peer::serve([&](Message& message) {
        if (connection < 0) connection = ConnectAttach(0, ::getppid(), channel, sideChannel, 0);
        const unsigned int question = static_cast<DeleteWebViewMessage&>(message).handle();
        // Ten levels deep.
        answer(message, question >= 10 ? true : ask(connection, question + 1));
      });
    });
    Listener self;
    self.client.serveDuringWaits();
    self.client.registerPID(peer.pid());
    peer.start(self.client.channelId());
    const int connection = ConnectAttach(0, peer.pid(), peer.hear(), sideChannel, 0);
    self.onMessage = [&](Message& message) {
      const unsigned int question = static_cast<DeleteWebViewMessage&>(message).handle();
      answer(message, ask(connection, question + 1));
    };
    EXPECT_TRUE(ask(connection, 0));
  });
}

TEST(ConnectionsTest, DeathEndsAWaitAndIsToldOnceAfterWhatWasSentBefore) {
  inOwnProcess([] {
    Peer peer([](int channel) {
      int connection = -1;
      Peer::serve([&](Message&) {
        connection = ConnectAttach(0, ::getppid(), channel, sideChannel, 0);
        post(connection, "first");
        post(connection, "second");
        ::_exit(0);
      });
    });
    Listener self;
    self.client.registerPID(peer.pid());
    peer.start(self.client.channelId());
    const int connection = ConnectAttach(0, peer.pid(), peer.hear(), sideChannel, 0);
    EXPECT_FALSE(ask(connection, 1));
    EXPECT_TRUE(self.heard.empty());
    ASSERT_TRUE(iterateUntil([&] { return self.heard.size() >= 3; }));
    EXPECT_EQ(self.heard, (std::vector<std::string>{"first", "second",
                                                    "pulse 2 " + std::to_string(connection)}));
    // Nobody is there any more; nothing happens.
    EXPECT_FALSE(ask(connection, 1));
    post(connection, "late");
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
    EXPECT_EQ(self.heard.size(), 3u);
  });
}

TEST(ConnectionsTest, WhoDoesNotAnswerIsKilledAndWhoDoesNotReadAsWell) {
  inOwnProcess([] {
    const auto body = [](int) { Peer::serve([](Message& message) { answer(message, true); }); };
    Peer stopped(body);
    Peer deaf(body);
    stopped.start(0);
    deaf.start(0);
    const int stoppedChannel = stopped.hear();
    const int deafChannel = deaf.hear();
    Listener self;
    const int silent = ConnectAttach(0, stopped.pid(), stoppedChannel, sideChannel, 0);
    const int full = ConnectAttach(0, deaf.pid(), deafChannel, sideChannel, 0);
    EXPECT_TRUE(ask(silent, 1));
    killSilentPeer(silent, 200ms);
    killSilentPeer(full, 30s);
    ::kill(stopped.pid(), SIGSTOP);
    ::kill(deaf.pid(), SIGSTOP);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(ask(silent, 1));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 200ms);
    const std::string large(30'000, 'x');
    for (int i = 0; i < 2500; ++i) post(full, "x", large);
    ASSERT_TRUE(iterateUntil([&] { return self.heard.size() == 2; }));
    for (const pid_t pid : {stopped.pid(), deaf.pid()}) {
      int status = 0;
      EXPECT_EQ(::waitpid(pid, &status, 0), pid);
      EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
    }
  });
}

// Connects to a channel by its name, as anybody would who follows no rules.
int connectRaw(pid_t pid, int channel) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string path =
      runtimeFolder() + "/channel-" + std::to_string(pid) + "-" + std::to_string(channel);
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  const int fd = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
  if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) return fd;
  ::close(fd);
  return -1;
}

bool isClosedByPeer(int fd) {
  char byte = 0;
  return ::recv(fd, &byte, 1, 0) <= 0;
}

TEST(ConnectionsTest, WhoIsNotRegisteredOrSendsNoMessageIsCutOff) {
  inOwnProcess([] {
    Peer stranger([](int channel) {
      const int connection = ConnectAttach(0, ::getppid(), channel, sideChannel, 0);
      post(connection, "let me in");
      Peer::say(connection > 0);
      Peer::listen();
    });
    Peer vandal([](int channel) {
      const int fd = connectRaw(::getppid(), channel);
      static_cast<void>(::send(fd, "nonsense", 8, MSG_NOSIGNAL));
      Peer::say(isClosedByPeer(fd));
      Peer::listen();
    });
    StandardErrorPipe log;
    Listener self;
    self.client.registerPID(vandal.pid());
    stranger.start(self.client.channelId());
    EXPECT_TRUE(stranger.hear());
    vandal.start(self.client.channelId());
    std::string lines;
    ASSERT_TRUE(iterateUntil([&] {
      lines += log.read();
      return lines.find("nobody is expecting it") != std::string::npos &&
             lines.find("it sent what is no message") != std::string::npos;
    })) << lines;
    EXPECT_TRUE(vandal.hear());
    EXPECT_TRUE(self.heard.empty());
  });
}

TEST(ConnectionsTest, OneFirstMessageIsHeardWhileHandshakesAreAwaited) {
  inOwnProcess([] {
    const auto body = [](int channel) {
      const int connection = ConnectAttach(0, ::getppid(), channel, sideChannel, 0);
      post(connection, "hello");
      post(connection, "again");
      Peer::say(1);
      Peer::listen();
    };
    Peer accepted(body);
    Peer refused(body);
    Listener self;
    std::atomic<int> greetings = 0;
    PeerHandler greeter([&](Message& message) {
      ++greetings;
      if (message.senderPid() == accepted.pid()) self.client.registerPID(message.senderPid());
    });
    self.client.setHandshakeMode(false, &greeter);
    accepted.start(self.client.channelId());
    refused.start(self.client.channelId());
    EXPECT_EQ(accepted.hear() + refused.hear(), 2);
    ASSERT_TRUE(iterateUntil([&] { return greetings == 2 && !self.heard.empty(); }));
    // The greeting itself went to the greeter only.
    EXPECT_EQ(self.heard, std::vector<std::string>{"again"});
    self.client.setHandshakeMode(true);
  });
}

TEST(ConnectionsTest, AProcessOfAnotherUserIsRefusedEvenWhereItCanConnect) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can become somebody else";
  inOwnProcess([] {
    // A run-time folder of its own: it is opened to others, which no other process puts up with.
    std::string base = (std::filesystem::temp_directory_path() / "pagehost-run-XXXXXX").string();
    ASSERT_TRUE(::mkdtemp(base.data()));
    ::setenv("XDG_RUNTIME_DIR", base.c_str(), 1);
    const std::string folder = runtimeFolder();
    Peer other([folder](int channel) {
      if (::chdir(folder.c_str()) != 0 || ::setuid(65534) != 0) ::_exit(5);
      sockaddr_un address{};
      address.sun_family = AF_UNIX;
      const std::string name =
          "channel-" + std::to_string(::getppid()) + "-" + std::to_string(channel);
      name.copy(address.sun_path, sizeof address.sun_path - 1);
      for (;;) {
        const int fd = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
        const bool isIn = ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        Peer::say(isIn && !isClosedByPeer(fd));
        Peer::say(isIn);
        Peer::listen();
      }
    });
    StandardErrorPipe log;
    Listener self;
    // What it may do is not asked: who it is decides.
    self.client.registerPID(other.pid());
    const int channel = self.client.channelId();
    other.start(channel);
    EXPECT_FALSE(other.hear());
    EXPECT_FALSE(other.hear()) << "the folder is open to others";
    const std::string name =
        folder + "/channel-" + std::to_string(::getpid()) + "-" + std::to_string(channel);
    ASSERT_EQ(::chmod(folder.c_str(), 0711), 0);
    ASSERT_EQ(::chmod(name.c_str(), 0777), 0);
    other.tell(0);
    EXPECT_FALSE(other.hear());
    EXPECT_TRUE(other.hear());
    std::filesystem::remove_all(base);
    EXPECT_NE(log.read().find("of user 65534 is refused"), std::string::npos);
  });
}

}  // namespace
