// Messages between real processes.
#include "ipc/ProcessMessages.h"
#include "platform/channel/Channels.h"
#include "platform/loop/Connections.h"
#include "platform/loop/MainThreadWait.h"
#include "platform/os/Folders.h"
#include "platform/sockets/Transfer.h"
#include "tests/support/ChromeFixture.h"
#include "tests/support/LocalSocket.h"
#include "tests/support/Peer.h"
#include "tests/support/StandardErrorPipe.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Waiting.h"

#include <sys/stat.h>

#include <chrono>
#include <cstdlib>

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

// Sends a request over a connection and returns the reply.
bool ask(int connection, unsigned int question) {
  DeleteWebViewMessage::Reply reply;
  MessageClient::sendMessage(std::make_unique<DeleteWebViewMessage>(question, &reply), connection);
  return reply.value();
}

void post(int connection, const String& name, const String& value = String()) {
  MessageClient::sendMessage(std::make_unique<SetEnvMessage>(name, value), connection);
}

// In a peer: its connection to the test, created on first use.
int toTest(int channel) {
  static const int connection = ConnectAttach(0, ::getppid(), channel, sideChannel, 0);
  return connection;
}

// The test's end: a main client and the messages that it has received.
class Listener {
 public:
  Listener() { client.installMessageHandler(&handler); }
  ~Listener() { client.removeMessageHandler(&handler); }
  // Starts a peer that serves; returns the connection to it.
  int connectTo(Peer& peer) {
    client.registerPID(peer.pid());
    peer.tell(client.channelId());
    return ConnectAttach(0, peer.pid(), peer.hear(), sideChannel, 0);
  }

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

TEST(ConnectionsTest, ACrowdOfPostsDuringAWaitComesWholeAndInOrderAfterIt) {
  inOwnProcess([] {
    constexpr int crowd = 100'000;
    Peer peer([](int channel) {
      Peer::serve([&](Message& message) {
        for (int i = 0; i < crowd; ++i) post(toTest(channel), std::to_string(i));
        answer(message, true);
      });
    });
    Listener self;
    const int connection = self.connectTo(peer);
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
      for (const char* name : {"first", "second", "third"}) post(toTest(channel), name);
      Peer::say(1);
      Peer::listen();
    });
    Listener self;
    self.client.registerPID(peer.pid());
    self.onMessage = [&](Message&) { self.client.exit(7); };
    peer.tell(self.client.channelId());
    EXPECT_EQ(peer.hear(), 1);
    EXPECT_EQ(test_support::exitStatusOf(self.client), 7);
    EXPECT_EQ(self.heard, std::vector<std::string>{"first"});
  });
}

// As when a chrome reads a title while handling an event of the same web view.
TEST(ConnectionsTest, BothEndsServeTheOtherWhileTheyWait) {
  inOwnProcess([] {
    Peer peer([](int channel) {
      Peer::serve([&](Message& message) {
        const unsigned int question = static_cast<DeleteWebViewMessage&>(message).handle();
        // Ten levels deep.
        answer(message, question >= 10 ? true : ask(toTest(channel), question + 1));
      });
    });
    Listener self;
    self.client.serveDuringWaits();
    const int connection = self.connectTo(peer);
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
      Peer::serve([&](Message&) {
        post(toTest(channel), "first");
        post(toTest(channel), "second");
        ::_exit(0);
      });
    });
    Listener self;
    const int connection = self.connectTo(peer);
    EXPECT_FALSE(ask(connection, 1));
    EXPECT_TRUE(self.heard.empty());
    ASSERT_TRUE(iterateUntil([&] { return self.heard.size() >= 3; }));
    EXPECT_EQ(self.heard, (std::vector<std::string>{"first", "second",
                                                    "pulse 2 " + std::to_string(connection)}));
    // The peer is gone: no effect.
    EXPECT_FALSE(ask(connection, 1));
    post(connection, "late");
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
    EXPECT_EQ(self.heard.size(), 3u);
  });
}

TEST(ConnectionsTest, AMessageOfAnUnknownTypeIsAnsweredWithNothing) {
  inOwnProcess([] {
    Peer peer([](int) { Peer::serve([](Message& message) { answer(message, true); }); });
    // The peer was forked before this process knew the type.
    constexpr int type = largestMessageType;
    installMessageSerializer(type, new RecordSerializer<IPCMessage<>>);
    Listener self;
    const int connection = self.connectTo(peer);
    killSilentPeer(connection, 5s);
    TypedReplyBuffer<bool> reply;
    MessageClient::sendMessage(std::make_unique<IPCMessage<>>(type, &reply), connection);
    EXPECT_FALSE(reply.value());
    EXPECT_TRUE(ask(connection, 1)) << "the peer has lost its connection, or its life";
  });
}

TEST(ConnectionsTest, WhoDoesNotAnswerIsKilledUnlessSomebodyHasStoppedIt) {
  inOwnProcess([] {
    constexpr unsigned int harmless = 1;
    const auto body = [](int) {
      Peer::serve([](Message& message) {
        if (message.type() != DeleteWebViewMessage::messageType) return;
        while (static_cast<DeleteWebViewMessage&>(message).handle() != harmless) ::pause();
        answer(message, true);
      });
    };
    Peer stuck(body);
    Peer stopped(body);
    Listener self;
    const int silent = self.connectTo(stuck);
    const int still = self.connectTo(stopped);
    for (const int connection : {silent, still}) {
      EXPECT_TRUE(ask(connection, harmless));
      killSilentPeer(connection, 200ms);
    }
    const auto timeToAsk = [](int connection, unsigned int question, bool expected) {
      const auto start = std::chrono::steady_clock::now();
      EXPECT_EQ(ask(connection, question), expected);
      return std::chrono::steady_clock::now() - start;
    };
    ::kill(stopped.pid(), SIGSTOP);
    EXPECT_GE(timeToAsk(silent, 2, false), 200ms);
    EXPECT_GE(timeToAsk(still, harmless, false), 200ms);
    EXPECT_LT(timeToAsk(still, harmless, false), 200ms) << "nobody waits for it a second time";
    ASSERT_TRUE(iterateUntil([&] { return self.heard.size() == 1; }));
    int status = 0;
    EXPECT_EQ(::waitpid(stuck.pid(), &status, 0), stuck.pid());
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);

    // Messages beyond the queue's limit do not close it either.
    const std::string large(100'000, 'x');
    for (int i = 0; i < 1000; ++i) post(still, "x", large);
    post(still, "x", std::string(largestMessage, 'x'));
    ::kill(stopped.pid(), SIGCONT);
    EXPECT_TRUE(ask(still, harmless));
    EXPECT_EQ(self.heard.size(), 1u);
  });
}

// The path of a channel of a process in that folder.
std::string channelIn(const std::string& folder, pid_t pid, int channel) {
  return folder + "/channel-" + std::to_string(pid) + "-" + std::to_string(channel);
}

// In a peer: connects to a channel of the test without following the protocol.
UniqueFd connectRaw(const std::string& folder, int channel) {
  return test_support::socketAt(channelIn(folder, ::getppid(), channel), ::connect, SOCK_SEQPACKET);
}

bool isClosedByPeer(const UniqueFd& socket) {
  char byte = 0;
  return ::recv(socket.get(), &byte, 1, 0) <= 0;
}

TEST(ConnectionsTest, WhoIsNotRegisteredOrSendsNoMessageIsCutOff) {
  inOwnProcess([] {
    Peer stranger([](int channel) {
      post(toTest(channel), "let me in");
      Peer::say(toTest(channel) > 0);
      Peer::listen();
    });
    Peer vandal([](int channel) {
      const UniqueFd socket = connectRaw(runtimeFolder(), channel);
      Tessel::Platform::trySend(socket.get(), "nonsense");
      Peer::say(isClosedByPeer(socket));
      Peer::listen();
    });
    StandardErrorPipe log;
    Listener self;
    self.client.registerPID(vandal.pid());
    stranger.tell(self.client.channelId());
    EXPECT_TRUE(stranger.hear());
    vandal.tell(self.client.channelId());
    std::string lines;
    ASSERT_TRUE(iterateUntil([&] {
      lines += log.read();
      return lines.find("not an expected handshake") != std::string::npos &&
             lines.find("malformed message") != std::string::npos;
    })) << lines;
    EXPECT_TRUE(vandal.hear());
    EXPECT_TRUE(self.heard.empty());
  });
}

TEST(ConnectionsTest, AProcessOfAnotherUserIsRefusedEvenWhereItCanConnect) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can become somebody else";
  inOwnProcess([] {
    // A private run-time folder: it is made accessible to others, which other processes reject.
    const test_support::TemporaryFolder base;
    ::setenv("XDG_RUNTIME_DIR", base.path().c_str(), 1);
    const std::string folder = runtimeFolder();
    Peer other([folder](int channel) {
      if (::chdir(folder.c_str()) != 0 || ::setuid(65534) != 0) ::_exit(5);
      for (;;) {
        const UniqueFd socket = connectRaw(".", channel);
        Peer::say(socket && !isClosedByPeer(socket));
        Peer::say(bool(socket));
        Peer::listen();
      }
    });
    StandardErrorPipe log;
    Listener self;
    // The peer's user decides, even if its pid is registered and file permissions allow it.
    self.client.registerPID(other.pid());
    const int channel = self.client.channelId();
    other.tell(channel);
    EXPECT_FALSE(other.hear());
    EXPECT_FALSE(other.hear()) << "the folder is open to others";
    const std::string name = channelIn(folder, ::getpid(), channel);
    ASSERT_EQ(::chmod(folder.c_str(), 0711), 0);
    ASSERT_EQ(::chmod(name.c_str(), 0777), 0);
    other.tell(0);
    EXPECT_FALSE(other.hear());
    EXPECT_TRUE(other.hear());
    EXPECT_NE(log.read().find("of user 65534 is refused"), std::string::npos);
  });
}

}  // namespace
