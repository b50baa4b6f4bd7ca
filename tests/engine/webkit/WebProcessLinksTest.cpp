// Where web processes connect, over a real socket. Both ends are played on the test's thread.
#include "engine/webkit/WebProcessLinks.h"
#include "tests/engine/webkit/link/FrameSamples.h"
#include "tests/engine/webkit/link/ScriptedPeer.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
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
  String report(const FunctionCall& report) override {
    reports.push_back(report);
    return {};
  }
  std::vector<FunctionCall> reports;

  std::shared_ptr<PageLink> link;
  PageSetup currentSetup;
};

class WebProcessLinksTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(links_->isListening()); }

  ScriptedPeer connect(const std::string& token) {
    UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_un address = addressOf(links_->address());
    EXPECT_EQ(::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
              0);
    ScriptedPeer peer(std::move(socket));
    peer.send(FrameKind::Hello, 0, 0, token);
    return peer;
  }
  // The frame that comes back while the main loop runs.
  std::string ask(ScriptedPeer& peer, FrameKind kind, std::uint64_t page,
                  const std::string& payload) {
    peer.send(kind, 1, page, payload);
    EXPECT_TRUE(iterateUntil([&] { return peer.hasFrame(); }));
    return peer.next(FrameKind::Answer).payload;
  }
  std::string callNative(ScriptedPeer& peer, std::uint64_t page) {
    return ask(peer, FrameKind::NativeCall, page, encode(NativeArguments{"x"}));
  }

  TemporaryFolder folder_;
  std::unique_ptr<WebProcessLinks> links_ = std::make_unique<WebProcessLinks>(folder_.path());
};

TEST_F(WebProcessLinksTest, PagesThatAreUnknownForgottenOrGoneAreAnsweredEmpty) {
  auto page = std::make_shared<FakeLinkedPage>();
  page->currentSetup.callbackObject = true;
  auto gone = std::make_shared<FakeLinkedPage>(*page);
  links_->registerPage(7, page);
  links_->registerPage(8, gone);
  links_->forgetPage(7);
  gone.reset();
  ScriptedPeer peer = connect(links_->token());
  for (const std::uint64_t number : {7, 8, 9}) {
    EXPECT_EQ(ask(peer, FrameKind::PageCreated, number, ""), encode(PageSetup()));
    EXPECT_EQ(callNative(peer, number), "");
    EXPECT_EQ(ask(peer, FrameKind::Dialog, number, encode(DialogQuestion())),
              encode(DialogAnswer()));
  }
  EXPECT_FALSE(page->link);
}

TEST_F(WebProcessLinksTest, EachProcessHasALinkOfItsOwnAndOnlyWithTheToken) {
  const auto first = std::make_shared<FakeLinkedPage>();
  const auto second = std::make_shared<FakeLinkedPage>();
  links_->registerPage(1, first);
  links_->registerPage(2, second);
  ScriptedPeer stranger = connect("not the token");
  stranger.send(FrameKind::PageCreated, 1, 1, "");
  ScriptedPeer a = connect(links_->token());
  ScriptedPeer b = connect(links_->token());
  ask(a, FrameKind::PageCreated, 1, "");
  ask(b, FrameKind::PageCreated, 2, "");
  EXPECT_NE(first->link, second->link);
  EXPECT_TRUE(stranger.hasGone());

  const std::string address = links_->address();
  EXPECT_TRUE(std::filesystem::exists(address));
  links_.reset();
  EXPECT_FALSE(std::filesystem::exists(address));
  EXPECT_TRUE(b.hasGone());
  EXPECT_FALSE(second->link->callFunction(2, {{"f"}, {}}));
}

TEST_F(WebProcessLinksTest, SocketsOfProgramsThatWereKilledAreRemoved) {
  const pid_t dead = ::fork();
  if (dead == 0) ::_exit(0);
  ASSERT_EQ(::waitpid(dead, nullptr, 0), dead);
  const auto left =
      std::filesystem::path(folder_.path()) / ("pages-" + std::to_string(dead) + "-x");
  std::ofstream(left).put('x');
  const WebProcessLinks another(folder_.path());
  EXPECT_FALSE(std::filesystem::exists(left));
  EXPECT_TRUE(std::filesystem::exists(links_->address())) << "this one's owner is alive";
}

TEST_F(WebProcessLinksTest, AWebProcessCannotSpeakForThePageOfAnother) {
  const auto page = std::make_shared<FakeLinkedPage>();
  page->currentSetup = {true, true, {}};
  links_->registerPage(1, page);
  ScriptedPeer owner = connect(links_->token());
  ScriptedPeer thief = connect(links_->token());
  ask(owner, FrameKind::PageCreated, 1, "");
  const auto link = page->link;
  EXPECT_EQ(ask(thief, FrameKind::PageCreated, 1, ""), encode(PageSetup()));
  EXPECT_EQ(callNative(thief, 1), "");
  thief.send(FrameKind::Report, 0, 1, encode(FunctionCall{{"documentLoaded"}, {}}));
  EXPECT_EQ(callNative(thief, 1), "") << "the report before it was read, and dropped";
  EXPECT_TRUE(page->reports.empty());
  EXPECT_EQ(page->link, link);

  // A page whose process has ended may live in another one.
  owner.close();
  page->link.reset();
  EXPECT_TRUE(iterateUntil([&] {
    ask(thief, FrameKind::PageCreated, 1, "");
    return page->link != nullptr;
  }));
  EXPECT_EQ(callNative(thief, 1), "called");
}

}  // namespace
