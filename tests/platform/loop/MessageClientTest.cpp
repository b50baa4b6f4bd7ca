// Message loops; the main client runs on the test's thread, the senders on others.
#include "platform/loop/MainThreadWait.h"
#include "platform/loop/MessageClient.h"
#include "tests/support/ChromeFixture.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace Tessel::Platform {
namespace {

using test_support::turnLoop;
using Testing::iterateUntil;

class TracingHandler final : public MessageHandler {
 public:
  using OnMessage = std::function<void(TracingHandler&, Message&)>;
  TracingHandler(std::string name, std::string& trace, OnMessage onMessage = {})
      : name_(std::move(name)), trace_(trace), onMessage_(std::move(onMessage)) {}
  void handleMessage(Message& message) override {
    trace_ += name_ + std::to_string(message.type()) + ' ';
    if (onMessage_) onMessage_(*this, message);
  }

 private:
  std::string name_;
  std::string& trace_;
  OnMessage onMessage_;
};

class MessageClientTest : public testing::Test {
 protected:
  void dispatch(std::function<void()> call) {
    client->dispatchMessage(executableMessage(std::move(call)));
  }
  void note(const std::string& text) {
    dispatch([this, text] { trace += text + ' '; });
  }
  // Runs the client until it is ended; fails at the deadline.
  int run() { return test_support::exitStatusOf(*client); }
  // Runs the client until all messages queued now are handled.
  void runWaiting() {
    dispatch([this] { client->exit(0); });
    EXPECT_EQ(run(), 0);
  }

  std::string trace;
  std::optional<MainMessageClient> client{std::in_place, 0, -1};
};

TEST_F(MessageClientTest, DeliversInOrderOfDispatchToHandlersInOrderOfInstallation) {
  TracingHandler first("first", trace, [&](TracingHandler& self, Message& message) {
    if (message.type() == 2) client->removeMessageHandler(&self);
  });
  TracingHandler second("second", trace);
  TracingHandler late("late", trace, [&](TracingHandler& self, Message&) {
    client->removeMessageHandler(&self);
    client->removeMessageHandler(&second);
  });
  client->installMessageHandler(&first);
  client->installMessageHandler(&second);
  const auto post = [&](int type) { client->dispatchMessage(std::make_unique<Message>(type)); };

  post(1);
  note("note");
  post(2);
  post(3);
  dispatch([&] { client->installMessageHandler(&late); });
  post(4);
  post(5);
  runWaiting();
  EXPECT_EQ(trace, "first1 second1 note first2 second2 second3 second4 late4 ");
}

TEST_F(MessageClientTest, ExitEndsTheLoopAfterTheMessageInHandWithTheFirstStatus) {
  auto leftOver = std::make_shared<int>(1);
  dispatch([&] {
    client->exit(7);
    client->exit(8);
    // Running a nested loop does not deliver later messages.
    turnLoop();
    trace += "finished ";
  });
  dispatch([this, leftOver] { trace += "not delivered "; });
  EXPECT_EQ(run(), 7);
  EXPECT_EQ(trace, "finished ");
  EXPECT_EQ(leftOver.use_count(), 2);
  client.reset();
  EXPECT_EQ(leftOver.use_count(), 1);
}

TEST_F(MessageClientTest, SyncMessageIsRefusedOnceTheLoopHasEnded) {
  // At the end some senders are waiting in the queue and others are about to enter it.
  for (int round = 0; round < 50; ++round) {
    client.emplace(0, -1);
    int delivered = 0;
    std::vector<std::future<int>> senders;
    for (int i = 0; i < 3; ++i) {
      senders.push_back(std::async(std::launch::async, [&] {
        int accepted = 0;
        while (client->dispatchSyncMessage(executableMessage([&] {
          if (++delivered == 30) client->exit(0);
        }))) {
          ++accepted;
        }
        return accepted;
      }));
    }
    EXPECT_EQ(run(), 0);
    int accepted = 0;
    for (std::future<int>& sender : senders) {
      ASSERT_EQ(sender.wait_for(Testing::Deadline), std::future_status::ready);
      accepted += sender.get();
    }
    EXPECT_EQ(delivered, 30);
    EXPECT_EQ(accepted, 30);
  }
}

TEST_F(MessageClientTest, WaitHoldsMessagesBackEvenWhenItRunsTheContext) {
  dispatch([this] {
    note("after");
    MainThreadWait wait;
    turnLoop();
    {
      MainThreadWait nested;
      std::thread([this] { note("from another thread"); }).join();
    }
    turnLoop();
    trace += "waited ";
  });
  dispatch([this] { trace += "second "; });
  EXPECT_TRUE(iterateUntil([this] { return trace == "waited second after from another thread "; }));
}

TEST_F(MessageClientTest, WaitThatBeginsAfterTheContextFoundMessagesReadyHoldsThemToo) {
  client.reset();
  // Attached before the client, so that it runs first if both are ready.
  const auto early = [](gpointer trace) -> gboolean {
    MainThreadWait wait;
    turnLoop();
    *static_cast<std::string*>(trace) += "waited ";
    return G_SOURCE_REMOVE;
  };
  g_idle_add_full(G_PRIORITY_DEFAULT, early, &trace, nullptr);
  client.emplace(0, -1);
  note("held");
  g_main_context_iteration(nullptr, FALSE);
  EXPECT_TRUE(trace.starts_with("waited ")) << trace;
  EXPECT_TRUE(iterateUntil([this] { return trace == "waited held "; }));
}

TEST_F(MessageClientTest, MessageDispatchedWhileTheLoopGoesToSleepWakesIt) {
  // A source that dispatches after the client was checked and had nothing to do.
  struct Source {
    GSource base;
    MessageClient* client;
  };
  static GSourceFuncs functions = {
      [](GSource* source, gint*) -> gboolean {
        auto* const self = reinterpret_cast<Source*>(source);
        if (MessageClient* const target = std::exchange(self->client, nullptr)) {
          target->dispatchMessage(executableMessage([target] { target->exit(5); }));
        }
        return FALSE;
      },
      nullptr,
      [](GSource*, GSourceFunc, gpointer) -> gboolean { return G_SOURCE_CONTINUE; },
      nullptr,
      nullptr,
      nullptr};
  GSource* const source = g_source_new(&functions, sizeof(Source));
  reinterpret_cast<Source*>(source)->client = &*client;
  g_source_attach(source, nullptr);
  EXPECT_EQ(run(), 5);
  g_source_destroy(source);
  g_source_unref(source);
}

TEST_F(MessageClientTest, NoMessageOfManyThreadsIsLostOrOvertaken) {
  constexpr int threadCount = 4;
  constexpr int perThread = 25000;
  std::vector<int> next(threadCount, 0);
  int total = 0;
  int outOfOrder = 0;
  std::vector<std::thread> threads;
  for (std::size_t id = 0; id < threadCount; ++id) {
    threads.emplace_back([&, id] {
      for (int i = 0; i < perThread; ++i) {
        dispatch([&, id, i] {
          if (next[id]++ != i) ++outOfOrder;
          if (++total == threadCount * perThread) client->exit(0);
        });
      }
    });
  }
  EXPECT_EQ(run(), 0);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(total, threadCount * perThread);
  EXPECT_EQ(outOfOrder, 0);
}

}  // namespace
}  // namespace Tessel::Platform
