// Child processes with web views, from launch to death: real processes, pages without an engine.
#include "ipc/ChildLauncher.h"
#include "ipc/EventBacklog.h"
#include "ipc/IPCReceiverHandler.h"
#include "ipc/IPCSenderGroup.h"
#include "ipc/IPCSenderHandler.h"
#include "ipc/ProcessMessages.h"
#include "platform/channel/Channels.h"
#include "platform/loop/Connections.h"
#include "platform/loop/MainThreadWait.h"
#include "tests/support/ChromeFixture.h"
#include "tests/support/Processes.h"
#include "tests/support/StandardErrorPipe.h"
#include "tests/support/Waiting.h"
#include "tests/webview/commands/HandmadeBlobs.h"
#include "webview/commands/IPCSenderWebView.h"
#include "webview/events/EventMessages.h"

#include <signal.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

namespace {

using namespace Tessel::Platform;
using test_support::inOwnProcess;
using test_support::isRunning;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Testing::iterateUntil;
using Testing::StandardErrorPipe;
using ::testing::StartsWith;

// The behaviour of children by group number; all others are well-behaved.
enum Group : unsigned int {
  WrongUpperHalf = 101,
  WrongLowerHalf,
  ForeignPid,
  LateHandshake,
  SilentOne,
  SpeaksForTheChrome,
  Floods,
};

// Posts too many events when its first web view is requested.
class FloodingHandler final : public MessageHandler {
 public:
  explicit FloodingHandler(int main) : main_(main) {}
  void handleMessage(Message& message) override {
    if (message.type() != CreateWebViewMessage::messageType || done_) return;
    done_ = true;
    const unsigned int view = static_cast<CreateWebViewMessage&>(message).handle();
    for (int i = 0; i < 200'000; ++i) post(view, EventType::CaretChanged);
    post(view, EventType::Focus);
  }

 private:
  void post(unsigned int view, EventType event) const {
    MessageClient::sendMessage(std::make_unique<HandleOrvWebPostEventMessage>(view, event, "{}"),
                               main_);
  }
  const int main_;
  bool done_ = false;
};

int goodChild(IPCReceiverHandler& handler, MainMessageClient& client) {
  test_support::FakePageFactory::instance();
  // Removes state of earlier tests inherited by fork: a child has no chrome.
  WebViewManager::instance().destroyWebView(WebViewManager::rootHandle);
  test_support::FakePage::onLoad = [](test_support::FakePage& page, const String&) {
    page.client.update<&PageState::title>(String(std::getenv("SOCK_SO_BINDTODEVICE")));
  };
  client.installMessageHandler(&handler);
  const int status = client.run();
  client.removeMessageHandler(&handler);
  return status;
}

int childMain(unsigned int groupId, int parentPid, int mainChannelId, int webEngineChannelId,
              unsigned long long key) {
  ::setpgid(0, 0);
  ::alarm(60);
  // Unlike the program's, this launcher was forked after the main context was created.
  test_support::separateMainContext();
  const int main = ConnectAttach(0, parentPid, mainChannelId, sideChannel, waitForRoom);
  const int webEngine = ConnectAttach(0, parentPid, webEngineChannelId, sideChannel, waitForRoom);
  if (main < 0 || webEngine < 0) return -1;
  MainMessageClient client(3, -1);
  IPCReceiverHandler handler(main, webEngine);
  client.registerPID(parentPid);
  client.serveDuringWaits();
  pid_t pid = ::getpid();
  switch (groupId) {
    case WrongUpperHalf:
      key ^= 1ull << 63;
      break;
    case WrongLowerHalf:
      key ^= 1;
      break;
    case ForeignPid:
      pid = ::getppid();
      break;
    case LateHandshake:
      std::this_thread::sleep_for(std::chrono::milliseconds(600));
      break;
    case SilentOne:
      // Also kills its launcher, since it does not notice the end itself.
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);
      ::pause();
      break;
    default:
      break;
  }
  MessageClient::sendMessage(
      std::make_unique<HandshakeMessage>(groupId, pid, client.channelId(), key), main);
  if (groupId == SpeaksForTheChrome) {
    MessageClient::sendMessage(std::make_unique<HandleOrvWebPostEventMessage>(
                                   WebViewManager::rootHandle, EventType::Destroyed, ""),
                               main);
  }
  if (groupId == Floods) client.installMessageHandler(new FloodingHandler(main));
  return goodChild(handler, client);
}

// The chrome's side, in a process of its own with a launcher.
class Chrome final : public test_support::ChromeFixture {
 public:
  void TestBody() override {}

  unsigned int create(int processGroup) { return manager.createWebView(group, processGroup); }
  pid_t processOf(unsigned int handle) {
    return manager.remoteWebViewForHandle(handle)->host()->childPid();
  }
};

void withChildren(const std::function<void(Chrome&)>& body) {
  inOwnProcess([&] {
    ::signal(SIGPIPE, SIG_IGN);  // as the program does
    ASSERT_TRUE(spawnChildLauncher(childMain));
    IPCSenderGroup::installFactory();
    Chrome chrome;
    body(chrome);
  });
}

TEST(GroupTest, TheLastWebViewOfAGroupTakesItsProcessAlong) {
  withChildren([](Chrome& chrome) {
    const unsigned int first = chrome.create(2);
    const unsigned int second = chrome.create(2);
    const pid_t process = chrome.processOf(first);
    EXPECT_EQ(chrome.processOf(second), process);
    EXPECT_NE(chrome.processOf(chrome.create(WebViewManager::inNewProcess)), process)
        << "a number in use was given out";
    chrome.callNative({"webview.delete", std::to_string(first).c_str()});
    EXPECT_TRUE(isRunning(process));
    chrome.callNative({"webview.delete", std::to_string(second).c_str()});
    ASSERT_TRUE(iterateUntil([&] { return !isRunning(process); }));
    EXPECT_THAT(chrome.errors(), IsEmpty());
  });
}

TEST(GroupTest, ANewChildIsToldItsNetworkDevice) {
  withChildren([](Chrome& chrome) {
    ::setenv("SOCK_SO_BINDTODEVICE", "eth7", 1);
    const unsigned int view = chrome.create(1);
    const std::string handle = std::to_string(view);
    ASSERT_TRUE(iterateUntil([&] { return chrome.manager.isCreated(view); }));
    chrome.callNative({"webview.loadURL", handle.c_str(), "about:blank"});
    EXPECT_EQ(chrome.callNative({"webview.title", handle.c_str()}), "eth7");
  });
}

TEST(GroupTest, EventsOfAChildGoByTheirNamesAndUnknownOnesAreDropped) {
  using namespace std::string_view_literals;
  withChildren([](Chrome& chrome) {
    const unsigned int view = chrome.create(1);
    const pid_t process = chrome.processOf(view);
    ASSERT_TRUE(iterateUntil([&] { return chrome.manager.isCreated(view); }));
    chrome.events();
    const auto receive = [&](int type, std::string_view name) {
      auto blobs = test_support::blobsByHand(type, "iss");
      blobs.bytes.at(0).replace(sizeof(MessageHeader), 4, test_support::wordOf(view));
      blobs.bytes.at(1) = test_support::wordOf(view);
      blobs.bytes.at(3) = name;
      const auto message = blobs.deserialize();
      ReplyBytes reply;
      message->setReply(&reply);
      message->setSenderPid(process);
      IPCSenderHandler::instance().handleMessage(*message);
      return reply.bytes();
    };
    constexpr int posted = HandleOrvWebPostEventMessage::messageType;
    constexpr int sent = HandleOrvWebSendEventMessage::messageType;
    chrome.page->answer = [](const FunctionCall& call) { return call.arguments[1]; };
    for (const auto& unknown : {"Foc\0"sv, "focus\0"sv, "Focus\0Focus\0"sv, "\0"sv}) {
      StandardErrorPipe log;
      receive(posted, unknown);
      EXPECT_EQ(receive(sent, unknown), "") << unknown;
      EXPECT_THAT(log.read(), HasSubstr("has sent an unknown event of web view"));
    }
    EXPECT_TRUE(chrome.page->called.empty());
    EXPECT_THAT(chrome.events(), IsEmpty());
    receive(posted, "Focus\0"sv);
    receive(posted, "PropertyTitleEvent\0"sv);
    const std::string start = std::to_string(view);
    EXPECT_THAT(chrome.events(), ElementsAre(StartsWith(start + " Focus "),
                                             StartsWith(start + " PropertyTitleEvent ")));
    EXPECT_EQ(receive(sent, "OpenWindow\0"sv), "OpenWindow\0"sv);
  });
}

// Runs as the chrome during the main thread's next wait.
class InNextWait final : public MainThreadWait::Participant {
 public:
  explicit InNextWait(std::function<void()> action) : action_(std::move(action)) {
    MainThreadWait::addParticipant(this);
  }
  ~InNextWait() override { MainThreadWait::removeParticipant(this); }
  void appendPollDescriptors(std::vector<pollfd>& descriptors) const override {
    if (action_) descriptors.push_back({ready_.get(), POLLIN, 0});
  }
  void serve() override {
    if (const auto action = std::exchange(action_, nullptr)) action();
  }

 private:
  std::function<void()> action_;
  const UniqueFd ready_{::eventfd(1, EFD_CLOEXEC)};
};

TEST(GroupTest, AGroupThatCreatesOutlivesItsLastWebView) {
  withChildren([](Chrome& chrome) {
    const unsigned int first = chrome.create(1);
    const pid_t process = chrome.processOf(first);
    const InNextWait deletion([&] { chrome.manager.destroyWebView(first); });
    const unsigned int second = chrome.create(1);
    EXPECT_EQ(chrome.manager.remoteWebViewForHandle(first), nullptr);
    test_support::turnLoop();
    ASSERT_NE(chrome.manager.remoteWebViewForHandle(second)->host(), nullptr);
    EXPECT_EQ(chrome.processOf(second), process);
    EXPECT_TRUE(isRunning(process));
  });
}

TEST(GroupTest, AGroupWhoseProcessDiesWhileItCreatesMakesRoomForANewOne) {
  withChildren([](Chrome& chrome) {
    const unsigned int first = chrome.create(1);
    const pid_t process = chrome.processOf(first);
    const InNextWait death([&] {
      ::kill(process, SIGKILL);
      // Else it might still take the next web view.
      while (isRunning(process)) std::this_thread::yield();
      chrome.manager.destroyWebView(first);
    });
    chrome.create(1);
    const unsigned int third = chrome.create(1);
    ASSERT_NE(chrome.manager.remoteWebViewForHandle(third), nullptr);
    EXPECT_NE(chrome.processOf(third), process);
  });
}

class RefusedHandshakeTest : public ::testing::TestWithParam<Group> {};

TEST_P(RefusedHandshakeTest, EndsTheLaunchAtTheLimit) {
  withChildren([](Chrome& chrome) {
    const auto usual =
        std::exchange(IPCSenderGroup::handshakeLimit, std::chrono::milliseconds(400));
    StandardErrorPipe log;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(chrome.create(GetParam()), 0u);
    EXPECT_GE(std::chrono::steady_clock::now() - start, IPCSenderGroup::handshakeLimit);
    IPCSenderGroup::handshakeLimit = usual;
    EXPECT_THAT(chrome.errors(),
                ElementsAre("IPCSenderGroup for process -1 encountered error: Did not receive "
                            "handshake!"));
    if (GetParam() == LateHandshake) {
      // The group is gone by then.
      std::vector<std::string> errors;
      ASSERT_TRUE(iterateUntil([&] {
        if (errors.empty()) errors = chrome.errors();
        return !errors.empty();
      }));
      EXPECT_THAT(errors, ElementsAre("IPCSenderHandler could not find webview group with id: " +
                                      std::to_string(LateHandshake)));
    } else if (GetParam() != SilentOne) {
      EXPECT_THAT(log.read(), HasSubstr("Someone unknown was trying to handshake with me!"));
    }
    EXPECT_NE(chrome.create(1), 0u) << "a later group works";
  });
}

INSTANTIATE_TEST_SUITE_P(Each, RefusedHandshakeTest,
                         ::testing::Values(WrongUpperHalf, WrongLowerHalf, ForeignPid,
                                           LateHandshake, SilentOne));

TEST(GroupTest, AChildSpeaksForItsOwnWebViewsOnly) {
  withChildren([](Chrome& chrome) {
    StandardErrorPipe log;
    ASSERT_NE(chrome.create(SpeaksForTheChrome), 0u);
    std::string lines;
    ASSERT_TRUE(iterateUntil([&] {
      lines += log.read();
      return lines.find("has no web view 1; its event is dropped") != std::string::npos;
    }));
    EXPECT_NE(chrome.manager.rootWebView(), nullptr);
  });
}

TEST(GroupTest, AChildThatPostsWithoutEndCostsTheChromeLittleAndItsLastWordIsHeard) {
  withChildren([](Chrome& chrome) {
    const unsigned int view = chrome.create(Floods);
    ASSERT_NE(view, 0u);
    std::size_t told = 0;
    bool isLastHeard = false;
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(iterateUntil([&] {
      for (const std::string& event : chrome.events()) {
        ++told;
        isLastHeard = isLastHeard || event.find(" Focus ") != std::string::npos;
      }
      return isLastHeard;
    }));
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    EXPECT_LT(static_cast<double>(told),
              EventBacklog::burst + (seconds.count() + 1) * EventBacklog::perSecond);
    EXPECT_THAT(chrome.errors(), ElementsAre(HasSubstr("posts more events than are told")));
    EXPECT_NE(chrome.create(Floods), 0u) << "the child still serves";
  });
}

// A process that repeatedly connects and never sends anything.
TEST(GroupTest, SilentStrangersKeepNoChildFromStarting) {
  withChildren([](Chrome& chrome) {
    const pid_t parent = ::getpid();
    const int channel = MainMessageClient::instance()->channelId();
    const pid_t stranger = ::fork();
    if (stranger == 0) {
      ::alarm(60);
      std::vector<UniqueFd> silent;
      for (;;) {
        UniqueFd connection = connectToChannel(parent, channel);
        if (connection) silent.push_back(std::move(connection));
        if (silent.size() > 200) silent.erase(silent.begin(), silent.begin() + 100);
      }
    }
    for (unsigned int group = 1; group <= 5; ++group) EXPECT_NE(chrome.create(int(group)), 0u);
    ::kill(stranger, SIGKILL);
    ::waitpid(stranger, nullptr, 0);
  });
}

// A launched group that is connected is not in a handshake; a second one on it would be.
class Relaunched final : public IPCSenderGroup {
 public:
  using IPCSenderGroup::expectHandshake;
  using IPCSenderGroup::IPCSenderGroup;
};

TEST(GroupTest, MessagesDuringAHandshakeAreDropped) {
  inOwnProcess([] {
    IPCSenderGroup::installFactory();
    Chrome chrome;
    StandardErrorPipe log;
    auto* const group = new Relaunched(77, 4711);
    group->expectHandshake(1);
    IPCSenderHandler& handler = IPCSenderHandler::instance();
    handler.addProcess(4242, group);
    HandleOrvWebPostEventMessage message(12, EventType::Created, "{}");
    message.setSenderPid(4242);
    handler.handleMessage(message);
    EXPECT_THAT(log.read(),
                HasSubstr("Someone unknown was trying to send message to me during handshake!"));
    EXPECT_THAT(chrome.events(), IsEmpty());
    // A group does not remove a number that another group has taken over.
    auto* const later = new Relaunched(77, 4712);
    handler.addProcess(4242, later);
    handler.removeProcess(4242, group);
    EXPECT_EQ(handler.groupForConnection(4712), later);
    // Outside the main process there is no launcher.
    EXPECT_EQ(chrome.create(3), 0u);
    EXPECT_THAT(chrome.errors(),
                ElementsAre("IPCSenderGroup for process -1 encountered error: OutProcess webviews "
                            "can only be created from the main process."));
  });
}

}  // namespace
