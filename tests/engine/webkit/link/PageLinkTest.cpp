// The program's end of the page link, against a web process that the test plays. The test's thread
// is the main thread.
#include "engine/webkit/link/PageLink.h"
#include "platform/base/ErrorReport.h"
#include "tests/engine/webkit/link/FrameSamples.h"
#include "tests/engine/webkit/link/ScriptedPeer.h"

#include <gtest/gtest.h>
#include <sys/eventfd.h>

#include <array>
#include <atomic>
#include <future>

namespace {

using namespace link_protocol;
using namespace std::chrono_literals;
using namespace test_support;
using Tessel::Platform::MainThreadWait;
using Tessel::Platform::UniqueFd;
using Tessel::Platform::Testing::iterateUntil;

constexpr std::uint64_t page = 0x100000001;
// Long enough that no wait in these tests times out.
constexpr auto never = std::chrono::duration_cast<std::chrono::milliseconds>(1h);

class FakeDelegate final : public PageLinkDelegate {
 public:
  void pageCreated(const std::shared_ptr<PageLink>& link, std::uint64_t number) override {
    note();
    link->changeSetup(number, {});
    link->answerPageCreated(number, sampleSetups().back());
  }
  String nativeCall(const PageLink&, std::uint64_t number,
                    const NativeArguments& arguments) override {
    note();
    EXPECT_EQ(number, page);
    return onNativeCall(arguments);
  }
  DialogAnswer dialog(const PageLink&, std::uint64_t, const DialogQuestion& question) override {
    note();
    return {question.kind == DialogKind::Confirm, question.message};
  }
  String report(const PageLink&, std::uint64_t, const PageReport&) override { return {}; }
  void linkClosed(PageLink&) override { ++closed; }

  std::function<String(const NativeArguments&)> onNativeCall = [](auto&) { return String(); };
  int questions = 0;
  int closed = 0;

 private:
  void note() {
    ++questions;
    EXPECT_EQ(std::this_thread::get_id(), mainThread_);
    EXPECT_EQ(closed, 0) << "a closed link asks nothing";
  }

  const std::thread::id mainThread_ = std::this_thread::get_id();
};

// A link, its delegate and its peer.
struct Host {
  ~Host() {
    if (link) link->close();
  }

  PageLink::FunctionResult call(const char* function, std::vector<JavaScriptVariant> arguments = {},
                                std::chrono::milliseconds limit = never) {
    return link->callFunction(page, {{function}, std::move(arguments)}, limit);
  }
  double number(const char* function, double argument) {
    const auto result = call(function, {argument});
    return result ? result->numberValue() : -1;
  }

  FakeDelegate delegate;
  std::pair<UniqueFd, UniqueFd> ends = socketPair();
  ScriptedPeer peer{std::move(ends.second)};
  std::shared_ptr<PageLink> link = PageLink::open(std::move(ends.first), 1, delegate);
};

// A web process in a thread, until the link ends. Its page returns the argument of every call, for
// "hold" late: after the answer to the next call.
class EchoPage {
 public:
  explicit EchoPage(Host& host) : host_(host), thread_([this] { run(); }) {}
  ~EchoPage() {
    host_.link->close();
    thread_.finish();
  }

  std::atomic<bool> holds = false;

 private:
  void run() {
    std::vector<std::pair<Frame, std::string>> held;
    while (const auto frame = host_.peer.next()) {
      if (frame->kind != FrameKind::CallFunction) continue;
      FunctionCall call;
      ASSERT_TRUE(decode(frame->payload, call));
      ASSERT_EQ(frame->page, page);
      std::pair answer(*frame, encode(call.arguments.at(0)));
      holds = call.path.at(0) == "hold";
      if (!holds) host_.peer.answer(answer.first, answer.second);
      for (const auto& [late, payload] : held) host_.peer.answer(late, payload);
      held.clear();
      if (holds) held.push_back(std::move(answer));
    }
  }

  Host& host_;
  Script thread_;
};

TEST(PageLinkTest, WhatIsTooLargeIsLeftOutAndEverythingElseGoesOn) {
  static std::vector<std::string> errors;
  errors.clear();
  Tessel::Platform::setErrorListener(
      [](const String& text) { errors.push_back(text.toStdString()); });
  Host host;
  const EchoPage echo(host);
  const std::string large(maximumPayload, 'x');
  EXPECT_FALSE(host.call("called", {String(large)}));
  host.link->postFunction(page, {{"posted"}, {String(large)}}, {});
  host.delegate.onNativeCall = [&](auto&) { return String(large + 'x'); };
  host.peer.send(FrameKind::NativeCall, 1, page, encode(NativeArguments{"native"}));
  EXPECT_TRUE(iterateUntil([&] { return errors.size() == 3; }));
  EXPECT_EQ(host.number("echo", 7), 7);
  Tessel::Platform::setErrorListener(nullptr);
  ASSERT_EQ(errors.size(), 3u);
  for (std::size_t i = 0; i < 3; ++i) {
    const char* const name = std::array{"called", "posted", "native"}[i];
    EXPECT_NE(errors[i].find(name), std::string::npos) << errors[i];
  }
}

TEST(PageLinkTest, WhatIsNoQuestionClosesTheLink) {
  const std::vector<std::pair<FrameKind, std::string>> nonsense{
      {FrameKind::NativeCall, ""},
      {FrameKind::NativeCall, rawBytes(0xffffffffu)},
      {FrameKind::Dialog, std::string("\x09\0\0\0\0\0\0\0\0", 9)},
      {FrameKind::Report, "\xff" + rawBytes(0u)},
      {FrameKind::Hello, std::string(32, '0')},
      {FrameKind::PostFunction, encode(PostedCall())},
      {FrameKind::PostAction, encode(ActionCall())},
      {FrameKind::CallFunction, encode(FunctionCall())},
      {FrameKind::SetupChanged, encode(PageSetup())},
      {static_cast<FrameKind>(frameKindCount), ""}};
  for (const auto& [kind, payload] : nonsense) {
    Host host;
    host.peer.send(kind, 1, page, payload);
    host.peer.send(FrameKind::NativeCall, 2, page, encode(NativeArguments{"quit"}));
    // Never answered: the wait ends with the link.
    EXPECT_FALSE(host.call("echo"));
    EXPECT_TRUE(iterateUntil([&] { return host.delegate.closed == 1; }));
    EXPECT_EQ(host.delegate.questions, 0) << static_cast<unsigned int>(kind);
    host.link->close();
    EXPECT_EQ(host.delegate.closed, 1);
    EXPECT_FALSE(host.call("echo"));
  }
}

TEST(PageLinkTest, AWaitEndsAtItsLimitAndTheLateAnswerIsNobodys) {
  static std::string told;
  Tessel::Platform::setErrorListener([](const String& text) { told = text.toStdString(); });
  Host host;
  const EchoPage echo(host);
  const auto test = [&] {
    told.clear();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(host.call("hold", {1, "Focus", "data"}, 50ms));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 50ms);
    EXPECT_EQ(told, "") << "it may never come";
    EXPECT_EQ(host.number("echo", 2), 2);
    EXPECT_EQ(host.number("echo", 3), 3);
  };
  test();
  EXPECT_TRUE(iterateUntil([] { return !told.empty(); }));
  EXPECT_NE(told.find("hold(1, \"Focus\", …)"), std::string::npos) << told;
  Tessel::Platform::setErrorListener(nullptr);
  std::async(std::launch::async, test).get();
}

TEST(PageLinkTest, TheClockOfAWaitStandsDuringEveryQuestionThatIsServedInIt) {
  Host host;
  host.delegate.onNativeCall = [](const NativeArguments&) {
    std::this_thread::sleep_for(150ms);
    return String();
  };
  Script peer([&] {
    const Frame call = host.peer.next(FrameKind::CallFunction);
    for (std::uint32_t id = 1; id < 4; ++id) {
      host.peer.send(FrameKind::NativeCall, id, page, encode(NativeArguments()));
      host.peer.next(FrameKind::Answer);
    }
    host.peer.answer(call, encode(JavaScriptVariant(1)));
  });
  EXPECT_TRUE(host.call("slow", {}, 250ms));
}

TEST(PageLinkTest, PostsToAPeerThatDoesNotReadBlockNobodyAndKeepTheirOrder) {
  enum class Driver { MainLoop, WaitOfMainThread, WaitOfSecondThread };
  for (const Driver driver :
       {Driver::MainLoop, Driver::WaitOfMainThread, Driver::WaitOfSecondThread}) {
    constexpr int count = 10000;
    Host host;
    for (int i = 0; i < count; ++i) {
      host.link->postFunction(page, {{"post"}, {i, String(std::string(100, 'x'))}});
    }
    std::atomic<int> right = 0;
    Script peer([&] {
      for (int i = 0; i < count; ++i) {
        PostedCall post;
        const Frame frame = host.peer.next(FrameKind::PostFunction);
        if (!decode(frame.payload, post) || post.call.arguments.at(0).numberValue() != i) return;
        ++right;
      }
      if (driver == Driver::MainLoop) return;
      host.peer.answer(host.peer.next(FrameKind::CallFunction), encode(JavaScriptVariant(1)));
    });
    if (driver == Driver::MainLoop) {
      EXPECT_TRUE(iterateUntil([&] { return right == count; }));
    } else if (driver == Driver::WaitOfMainThread) {
      EXPECT_EQ(host.number("last", 0), 1);
    } else {
      EXPECT_EQ(std::async(std::launch::async, [&] { return host.number("last", 0); }).get(), 1);
    }
    EXPECT_EQ(right, count);
    host.link->close();
  }
}

TEST(PageLinkTest, ALinkMayBeClosedInsideAQuestion) {
  // Frames after the request are not served any more, and the last reference may be dropped.
  Host host;
  host.delegate.onNativeCall = [&](const NativeArguments&) {
    host.link->close();
    host.link.reset();
    return String();
  };
  const std::weak_ptr<PageLink> link = host.link;
  for (std::uint32_t id = 1; id < 4; ++id) {
    host.peer.send(FrameKind::NativeCall, id, page, encode(NativeArguments()));
  }
  EXPECT_TRUE(iterateUntil([&] { return link.expired(); }));
  EXPECT_EQ(host.delegate.questions, 1);
}

TEST(PageLinkTest, AWaitInsideAQuestionGoesOnInsideTheMainLoop) {
  Host host;
  std::promise<void> looped;
  double value = 0;
  host.delegate.onNativeCall = [&](const NativeArguments&) {
    g_idle_add(
        [](gpointer promise) -> gboolean {
          static_cast<std::promise<void>*>(promise)->set_value();
          return G_SOURCE_REMOVE;
        },
        &looped);
    value = host.number("needsTheLoop", 0);
    return String();
  };
  host.peer.send(FrameKind::NativeCall, 1, page, encode(NativeArguments()));
  Script peer([&] {
    const Frame call = host.peer.next(FrameKind::CallFunction);
    // Simulates an engine that answers only after our main loop has run something for it.
    EXPECT_EQ(looped.get_future().wait_for(Deadline), std::future_status::ready);
    host.peer.answer(call, encode(JavaScriptVariant(4)));
  });
  EXPECT_TRUE(iterateUntil([&] { return value == 4; }));
}

TEST(PageLinkTest, ALinkIsServedInEveryWaitWhenItIsMarked) {
  Host marked;
  Host plain;
  marked.link->serveInEveryWait();
  marked.link->serveInEveryWait();
  const UniqueFd answer(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  marked.delegate.onNativeCall = [&](const NativeArguments&) {
    ::eventfd_write(answer.get(), 1);
    return String("served");
  };
  for (Host* host : {&plain, &marked}) {
    host->peer.send(FrameKind::NativeCall, 1, page, encode(NativeArguments()));
  }
  MainThreadWait wait;
  std::vector<pollfd> own{{answer.get(), POLLIN, 0}};
  EXPECT_FALSE(wait.poll(own, Deadline)) << "the question woke it";
  EXPECT_TRUE(wait.poll(own, Deadline)) << "and what it was waiting for has come of it";
  EXPECT_EQ(marked.delegate.questions, 1);
  EXPECT_EQ(plain.delegate.questions, 0);

  // The worst case: one page's function returns only after the other page was answered.
  Script peer([&] {
    const Frame call = plain.peer.next(FrameKind::CallFunction);
    EXPECT_EQ(marked.peer.next(FrameKind::Answer).payload, "served");
    plain.peer.answer(call, encode(JavaScriptVariant(6)));
  });
  EXPECT_EQ(plain.number("needsTheOther", 0), 6);
  peer.finish();
  EXPECT_EQ(plain.delegate.questions, 1) << "its own questions are served in its own wait";

  marked.link->close();
  marked.link.reset();
  eventfd_t count;
  ::eventfd_read(answer.get(), &count);
  EXPECT_FALSE(wait.poll(own, 0ms)) << "a closed link takes part in no wait";
}

}  // namespace
