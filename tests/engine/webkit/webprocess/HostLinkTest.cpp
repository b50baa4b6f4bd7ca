// The module's end of the page link, with the program simulated by the test. The test's thread is
// the web process's main thread.
#include "engine/webkit/webprocess/HostLink.h"
#include "tests/engine/webkit/link/FrameSamples.h"
#include "tests/engine/webkit/link/ScriptedPeer.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace {

using namespace link_protocol;
using namespace test_support;
using Tessel::Platform::UniqueFd;
using Tessel::Platform::Testing::iterateUntil;

constexpr std::uint64_t page = 0x200000003;

class HostLinkTest : public testing::Test, protected HostLinkDelegate {
 protected:
  HostLinkTest() {
    const std::string path = folder_.path() / "host";
    const UniqueFd listener = socketAt(path, ::bind);
    EXPECT_EQ(::listen(listener.get(), 1), 0);
    link_ = HostLink::connect(path, "the token", *this);
    host_ = ScriptedPeer(UniqueFd(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC)));
  }
  void SetUp() override {
    ASSERT_TRUE(link_);
    const Frame hello = host_.next(FrameKind::Hello);
    EXPECT_EQ(hello.payload, "the token");
  }

  void act(std::uint64_t number, const ActionCall& call) override {
    EXPECT_EQ(number, page);
    ran_ += std::string(nameOf(call.action)) + ' ';
  }
  JavaScriptVariant callFunction(std::uint64_t number, const FunctionCall& call) override {
    EXPECT_EQ(number, page);
    const std::string name = call.path.at(0).toStdString();
    ran_ += name + ' ';
    if (onCall_) onCall_(name);
    return String("value of " + name);
  }
  void setupChanged(std::uint64_t number, const PageSetup& setup) override {
    EXPECT_EQ(number, page);
    ran_ += setup.callbackObject ? "allowed " : "forbidden ";
    deferred_ = setup.deferred;
  }
  bool isDeferred() const override { return deferred_; }

  void post(const char* function) {
    host_.send(FrameKind::PostFunction, 0, page, encode(PostedCall{{{function}, {}}, {}}));
  }
  void call(std::uint32_t id, const char* function) {
    host_.send(FrameKind::CallFunction, id, page, encode(FunctionCall{{function}, {}}));
  }
  void expectValue(std::uint32_t id, const JavaScriptVariant& expected) {
    const Frame answer = host_.next(FrameKind::Answer);
    EXPECT_EQ(answer.id, id);
    EXPECT_EQ(answer.page, page);
    EXPECT_EQ(answer.payload, encode(expected));
  }
  std::string ask(const char* payload) {
    return link_->ask(FrameKind::NativeCall, page, payload).value_or("(nothing)");
  }
  bool runUntilRan(const std::string& expected) {
    return iterateUntil([&] { return ran_ == expected; });
  }

  TemporaryFolder folder_;
  std::unique_ptr<HostLink> link_;
  ScriptedPeer host_;
  std::string ran_;  // calls of the delegate
  bool deferred_ = false;
  std::function<void(const std::string&)> onCall_;
};

TEST_F(HostLinkTest, AListenerOfAnotherUserIsToldNothing) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can become another user";
  const std::string path = folder_.path() / "other";
  const UniqueFd listener = socketAt(path, ::bind);
  // The kernel records who listens.
  ASSERT_EQ(::seteuid(65534), 0);
  EXPECT_EQ(::listen(listener.get(), 1), 0);
  ASSERT_EQ(::seteuid(0), 0);
  EXPECT_FALSE(HostLink::connect(path, "the token", *this));
}

TEST_F(HostLinkTest, TheMainLoopServesWhateverComesInOrder) {
  post("a");
  call(1, "b");
  host_.send(FrameKind::SetupChanged, 0, page, encode(PageSetup{true}));
  host_.send(FrameKind::SetupChanged, 0, page, "no setup");
  host_.send(FrameKind::PostFunction, 0, page, "no call");
  host_.send(FrameKind::PostAction, 0, page, encode(ActionCall{PageAction::focusNext, {}}));
  host_.send(FrameKind::PostAction, 0, page, "no action");
  host_.send(FrameKind::CallFunction, 2, page, "no call");
  post("c");
  EXPECT_TRUE(runUntilRan("a b allowed focusNext c ")) << ran_;
  expectValue(1, "value of b");
  expectValue(2, JavaScriptVariant());
  link_->tell(FrameKind::Log, page, "a line");
  EXPECT_EQ(host_.next(FrameKind::Log).payload, "a line");
}

TEST_F(HostLinkTest, PostsWaitForTheAnswerAndCallsDoNotOvertakeThem) {
  Script host([&] {
    const Frame question = host_.next(FrameKind::NativeCall);
    EXPECT_EQ(question.payload, "question");
    post("a");
    post("b");
    host_.send(FrameKind::Ping, 0, page, "");
    EXPECT_EQ(host_.next(FrameKind::Report).payload, encode(PageReport{ReportKind::alive, {}}));
    host_.answer(question, "one");

    const Frame second = host_.next(FrameKind::NativeCall);
    EXPECT_NE(second.id, question.id);
    post("c");
    call(5, "d");
    post("e");
    host_.send(FrameKind::SetupChanged, 0, page, encode(PageSetup()));
    expectValue(5, "value of d");
    host_.answer(second, "two");
    post("f");
  });
  EXPECT_EQ(ask("question"), "one");
  EXPECT_EQ(ran_, "") << "nothing runs inside a native call but what is waited for";
  EXPECT_EQ(ask("again"), "two");
  EXPECT_EQ(ran_, "a b c d forbidden ") << "and what was posted before that";
  EXPECT_TRUE(runUntilRan("a b c d forbidden e f ")) << ran_;
}

TEST_F(HostLinkTest, AProcessThatStandsStillServesTheProgramAndNothingElse) {
  bool otherRan = false;
  g_idle_add(
      [](gpointer ran) -> gboolean {
        *static_cast<bool*>(ran) = true;
        return G_SOURCE_REMOVE;
      },
      &otherRan);
  PageSetup deferred;
  deferred.deferred = true;
  Script host([&] {
    const Frame question = host_.next(FrameKind::NativeCall);
    host_.send(FrameKind::SetupChanged, 0, page, encode(deferred));
    host_.answer(question, "an open question goes first");
    call(1, "a");
    expectValue(1, "value of a");
    host_.send(FrameKind::Ping, 0, page, "");
    host_.next(FrameKind::Report);
    EXPECT_FALSE(otherRan);
    host_.send(FrameKind::SetupChanged, 0, page, encode(PageSetup()));
    post("b");
  });
  EXPECT_EQ(ask("question"), "an open question goes first");
  link_->suspend();
  EXPECT_TRUE(runUntilRan("forbidden a forbidden b ")) << ran_;
  EXPECT_TRUE(iterateUntil([&] { return otherRan; }));
}

TEST_F(HostLinkTest, AQuestionToAProgramThatHasGoneGivesNothing) {
  Script host([&] {
    const Frame answered = host_.next(FrameKind::NativeCall);
    host_.answer(answered, "last");
    host_.next(FrameKind::NativeCall);
    post("never run");
    host_.close();
  });
  EXPECT_EQ(ask("answered"), "last");
  EXPECT_EQ(ask("open"), "(nothing)");
  EXPECT_EQ(ask("too late"), "(nothing)");
  deferred_ = true;
  link_->suspend();
  link_->tell(FrameKind::Log, page, "nobody listens");
  EXPECT_EQ(ran_, "");
}

}  // namespace
