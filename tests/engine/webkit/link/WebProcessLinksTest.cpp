// The listener for web processes, over a real socket. Both ends run on the test's thread.
#include "engine/webkit/link/WebProcessLinks.h"
#include "tests/engine/webkit/link/FrameSamples.h"
#include "tests/engine/webkit/link/ScriptedPeer.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

namespace {

using namespace link_protocol;
using namespace test_support;
using Tessel::Platform::UniqueFd;
using Tessel::Platform::Testing::iterateUntil;

class FakeLinkedPage final : public LinkedPage {
 public:
  void linkReady(std::shared_ptr<PageLink> newLink) override { link = std::move(newLink); }
  PageSetup setup() const override { return currentSetup; }
  String nativeCall(const NativeArguments&) override { return "called"; }
  DialogAnswer dialog(const DialogQuestion&) override { return {true, "answered"}; }
  String report(const PageReport& report) override {
    reports.push_back(report);
    return {};
  }
  std::vector<PageReport> reports;

  std::shared_ptr<PageLink> link;
  PageSetup currentSetup;
};

class WebProcessLinksTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(links_->isListening()); }

  ScriptedPeer connect() { return ScriptedPeer(socketAt(links_->address())); }
  ScriptedPeer connect(const std::string& token) {
    ScriptedPeer peer = connect();
    peer.send(FrameKind::Hello, 0, 0, token);
    return peer;
  }
  // The reply that arrives while the main loop runs.
  std::string answer(ScriptedPeer& peer) {
    EXPECT_TRUE(iterateUntil([&] { return peer.hasFrame(); }));
    return peer.next(FrameKind::Answer).payload;
  }
  std::string ask(ScriptedPeer& peer, FrameKind kind, std::uint64_t page,
                  const std::string& payload) {
    peer.send(kind, 1, page, payload);
    return answer(peer);
  }
  std::string callNative(ScriptedPeer& peer, std::uint64_t page) {
    return ask(peer, FrameKind::NativeCall, page, encode(NativeArguments{"x"}));
  }
  // Runs the main loop until the link is closed.
  static bool isShutOut(ScriptedPeer& peer) {
    return iterateUntil([&] { return peer.isAtEnd(); });
  }
  // Acts as a page with all permissions.
  std::shared_ptr<FakeLinkedPage> registered(std::uint64_t number) {
    auto page = std::make_shared<FakeLinkedPage>();
    page->currentSetup = {true, true, {}};
    links_->registerPage(number, page);
    return page;
  }

  TemporaryFolder folder_;
  std::unique_ptr<WebProcessLinks> links_ = std::make_unique<WebProcessLinks>(folder_.path());
};

TEST_F(WebProcessLinksTest, PagesThatAreUnknownForgottenOrGoneAreAnsweredEmpty) {
  const auto page = registered(7);
  registered(8);
  const auto waiting = registered(10);
  links_->forgetPage(7);
  const std::string token = links_->issueToken();
  ScriptedPeer peer = connect(token);
  for (const std::uint64_t number : {7, 8, 9}) {
    links_->placePage(number, token);
    EXPECT_EQ(ask(peer, FrameKind::PageCreated, number, ""), encode(PageSetup()));
    EXPECT_EQ(callNative(peer, number), "");
    EXPECT_EQ(ask(peer, FrameKind::Dialog, number, encode(DialogQuestion())),
              encode(DialogAnswer()));
  }
  EXPECT_FALSE(page->link);
  peer.send(FrameKind::PageCreated, 1, 10, "");
  EXPECT_EQ(callNative(peer, 10), "") << "it waits for the engine's word";
  links_->forgetPage(10);
  EXPECT_EQ(answer(peer), encode(PageSetup()));
}

TEST_F(WebProcessLinksTest, ATokenLetsOneConnectionInAndNothingElseDoes) {
  std::vector<std::string> tokens;
  for (std::size_t i = 0; i <= LinkListener::mostTokens; ++i)
    tokens.push_back(links_->issueToken());
  const std::string& token = tokens.back();
  ScriptedPeer first = connect(token);
  EXPECT_EQ(callNative(first, 1), "");
  const std::pair<FrameKind, std::string> greetings[] = {{FrameKind::Hello, token},
                                                         {FrameKind::Hello, tokens.front()},
                                                         {FrameKind::Log, tokens[1]},
                                                         {FrameKind::Hello, tokens[1] + "0"},
                                                         {FrameKind::Hello, std::string(32, '0')}};
  for (const auto& [kind, payload] : greetings) {
    ScriptedPeer stranger = connect();
    stranger.send(kind, 1, 1, payload);
    // The valid token arrives too late.
    stranger.send(FrameKind::Hello, 0, 0, tokens[2]);
    EXPECT_TRUE(isShutOut(stranger)) << payload;
  }
  ScriptedPeer giant = connect();
  giant.sendHeader(FrameKind::Hello, maximumPayload);
  giant.sendBytes(std::string(64, 'x'));
  EXPECT_TRUE(isShutOut(giant)) << "nothing is kept that is longer than a token";
  // In pieces, and followed by a request.
  ScriptedPeer slow = connect();
  slow.sendHeader(FrameKind::Hello, 32);
  iterateUntil([] { return true; });
  slow.sendBytes(tokens[2]);
  EXPECT_EQ(callNative(slow, 1), "");
}

TEST_F(WebProcessLinksTest, SilentStrangersGoWhenTheyAreTooManyOrTooSlow) {
  LinkListener listener(
      folder_.path(), [](UniqueFd, pid_t, const std::string&) {}, std::chrono::milliseconds(200));
  std::vector<ScriptedPeer> strangers;
  for (std::size_t i = 0; i < LinkListener::mostUnidentified + 3; ++i) {
    strangers.emplace_back(socketAt(listener.address()));
  }
  EXPECT_TRUE(isShutOut(strangers[2]));
  EXPECT_FALSE(strangers[3].isAtEnd());
  EXPECT_TRUE(isShutOut(strangers.back()));
}

TEST_F(WebProcessLinksTest, WithoutDescriptorsTheListenerPausesAndGoesOn) {
  const std::string token = links_->issueToken();
  ScriptedPeer peer = connect(token);
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const UniqueFd highest(::dup(STDIN_FILENO));
  const rlimit none{static_cast<rlim_t>(highest.get()) + 1, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  int turns = 0;
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(200);
  const guint tick = g_timeout_add(
      20, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
  for (; std::chrono::steady_clock::now() < end; ++turns) g_main_context_iteration(nullptr, TRUE);
  g_source_remove(tick);
  ::setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_LT(turns, 30) << "the loop spins";
  EXPECT_EQ(callNative(peer, 1), "");
}

TEST_F(WebProcessLinksTest, TheSocketIsAloneInItsFolderAndGoesWithIt) {
  EXPECT_EQ(std::filesystem::path(links_->address()).parent_path(), links_->folder());
  EXPECT_NE(std::filesystem::path(links_->folder()), folder_.path());
  const auto entries = std::filesystem::directory_iterator(links_->folder());
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
  const pid_t dead = ::fork();
  if (dead == 0) ::_exit(0);
  ASSERT_EQ(::waitpid(dead, nullptr, 0), dead);
  const auto left =
      std::filesystem::path(folder_.path()) / ("pages-" + std::to_string(dead) + "-x");
  std::filesystem::create_directory(left);
  std::ofstream(left / "link").put('x');
  const WebProcessLinks another(folder_.path());
  EXPECT_FALSE(std::filesystem::exists(left)) << "of a program that was killed";
  EXPECT_TRUE(std::filesystem::exists(links_->address())) << "this one's owner is alive";

  const auto page = registered(1);
  const std::string token = links_->issueToken();
  ScriptedPeer peer = connect(token);
  links_->placePage(1, token);
  ask(peer, FrameKind::PageCreated, 1, "");
  const std::string folder = links_->folder();
  links_.reset();
  EXPECT_FALSE(std::filesystem::exists(folder));
  EXPECT_TRUE(peer.hasGone());
  EXPECT_FALSE(page->link->callFunction(1, {{"f"}, {}}));
}

TEST_F(WebProcessLinksTest, APageIsWhereTheEngineSaysAndNobodyElseSpeaksForIt) {
  const auto page = registered(1);
  const std::string ownersToken = links_->issueToken();
  const std::string thiefsToken = links_->issueToken();
  ScriptedPeer thief = connect(thiefsToken);
  ScriptedPeer owner = connect(ownersToken);
  // An impostor connects first, and learns nothing.
  thief.send(FrameKind::PageCreated, 1, 1, "");
  EXPECT_EQ(callNative(thief, 1), "");
  links_->placePage(1, ownersToken);
  EXPECT_EQ(answer(thief), encode(PageSetup()));
  EXPECT_EQ(ask(owner, FrameKind::PageCreated, 1, ""), encode(page->currentSetup));
  EXPECT_EQ(page->link->peerPid(), ::getpid()) << "as the kernel says";
  EXPECT_EQ(callNative(owner, 1), "called");

  const auto link = page->link;
  EXPECT_EQ(ask(thief, FrameKind::PageCreated, 1, ""), encode(PageSetup()));
  thief.send(FrameKind::Report, 0, 1, encode(PageReport{ReportKind::documentLoaded, {}}));
  EXPECT_EQ(callNative(thief, 1), "") << "the report before it was read, and dropped";
  EXPECT_TRUE(page->reports.empty());
  EXPECT_EQ(page->link, link);

  // After the end of its process, the page belongs to none until the engine names the next one.
  owner.close();
  page->link.reset();
  iterateUntil([&] { return link.use_count() == 1; });
  thief.send(FrameKind::PageCreated, 1, 1, "");
  EXPECT_EQ(callNative(thief, 1), "");
  const std::string nextToken = links_->issueToken();
  ScriptedPeer next = connect(nextToken);
  next.send(FrameKind::PageCreated, 1, 1, "");
  EXPECT_EQ(callNative(next, 1), "");
  EXPECT_FALSE(page->link);
  links_->placePage(1, nextToken);
  EXPECT_EQ(answer(next), encode(page->currentSetup));
  EXPECT_EQ(answer(thief), encode(PageSetup()));
  EXPECT_EQ(callNative(next, 1), "called");
  // Its process may change without ending.
  links_->placePage(1, thiefsToken);
  EXPECT_EQ(callNative(next, 1), "");
}

}  // namespace
