// The cost of a child process: calls of a web view in a child, messages posted by the child, and
// the launch of a child. Each is measured alternately with its floor in the same run, so that other
// load affects both equally.
//
// The child is a real one, from the launcher, with a page that has no engine behind it.
#include "bench/ChannelFloors.h"
#include "bench/PingPong.h"
#include "ipc/ChildLauncher.h"
#include "ipc/IPCReceiverHandler.h"
#include "ipc/IPCSenderGroup.h"
#include "ipc/IPCSenderHandler.h"
#include "ipc/ProcessMessages.h"
#include "platform/loop/Connections.h"
#include "platform/loop/MessageClient.h"
#include "tests/support/FakePage.h"
#include "webview/WebViewManager.h"
#include "webview/commands/IPCSenderWebView.h"

#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

namespace {

using Tessel::Platform::ConnectAttach;
using Tessel::Platform::MainMessageClient;
using Tessel::Platform::Message;
using Tessel::Platform::MessageClient;
using Tessel::Platform::MessageHandler;
using Tessel::Platform::sideChannel;
using Tessel::Platform::String;
using Tessel::Platform::Graphics::Window;
using Tessel::Platform::Graphics::WindowType;
using Clock = std::chrono::steady_clock;
using test_support::FakePageFactory;

constexpr int here = 0;  // the processor of this process
constexpr unsigned int handle = 12;
constexpr unsigned int servingGroup = 1;  // others only make themselves known
constexpr const char* windowGroup = "bench";

// The bytes of a message: the datagram's header, a length for each blob, and the blobs.
constexpr std::size_t datagram(std::size_t blobs, std::size_t bytes) {
  return 16 + blobs * 4 + bytes;
}
constexpr std::size_t request = datagram(2, 36 + 4);
constexpr std::size_t answerTo(std::size_t bytes) {
  return datagram(2, 32 + bytes);
}
constexpr std::size_t post(std::size_t text) {
  return datagram(5, 44 + 4 + 1 + text + 1 + 4);
}
constexpr std::size_t handshake = datagram(6, 52 + 20);

[[noreturn]] void giveUp(const char* why) {
  std::fprintf(stderr, "channel_bench: %s\n", why);
  std::exit(1);
}

// A child's messages: the program's, and two that only a benchmark needs.
class BenchReceiver final : public MessageHandler {
 public:
  BenchReceiver(int mainConnection, int webEngineConnection)
      : main_(mainConnection), receiver_(mainConnection, webEngineConnection) {}

  void handleMessage(Message& message) override {
    if (message.isPulse()) ::_exit(0);
    if (message.type() != SetEnvMessage::messageType) return receiver_.handleMessage(message);
    const auto& order = static_cast<const SetEnvMessage&>(message);
    if (order.name() == String("title")) {
      WebView* const view = WebViewManager::instance().webViewForHandle(handle);
      FakePageFactory::instance().pageOf(*view)->client.update<&PageState::title>(order.value());
    } else {
      const int count = std::atoi(order.name().utf8());
      const String text(std::string(std::size_t(std::atoi(order.value().utf8())), 't'));
      for (int i = 0; i < count; ++i) {
        MessageClient::sendMessage(std::make_unique<CreateWebViewMessage>(handle, text, 0, nullptr),
                                   main_);
      }
    }
  }

 private:
  const int main_;
  IPCReceiverHandler receiver_;
};

int childMain(unsigned int groupId, int parentPid, int mainChannelId, int webEngineChannelId,
              unsigned long long key) {
  const int mainConnection = ConnectAttach(0, parentPid, mainChannelId, sideChannel, 0);
  const int webEngineConnection = ConnectAttach(0, parentPid, webEngineChannelId, sideChannel, 0);
  if (mainConnection == -1 || webEngineConnection == -1) return 1;
  int status = 0;
  {
    MainMessageClient client(3, -1);
    BenchReceiver receiver(mainConnection, webEngineConnection);
    client.installMessageHandler(&receiver);
    client.registerPID(parentPid);
    client.serveDuringWaits();
    MessageClient::sendMessage(
        std::make_unique<HandshakeMessage>(groupId, ::getpid(), client.channelId(), key),
        mainConnection);
    if (groupId == servingGroup) {
      FakePageFactory::instance();
      new Window(WindowType::Application, nullptr, {0, 0, 800, 600}, {}, {}, 0, false, windowGroup);
    }
    status = client.run();
    client.removeMessageHandler(&receiver);
  }
  // Suppresses the log line about the child's end.
  ::_exit(status);
}

class PostCounter final : public MessageHandler {
 public:
  void handleMessage(Message& message) override {
    if (message.type() == CreateWebViewMessage::messageType) ++count;
  }
  int count = 0;
};

template <typename Body>
double timed(int times, Body&& body) {
  const auto begin = Clock::now();
  for (int i = 0; i < times; ++i) body();
  return std::chrono::duration<double, std::micro>(Clock::now() - begin).count() / times;
}

double part(std::vector<double> values, double portion) {
  const auto at = values.begin() + std::ptrdiff_t(portion * double(values.size() - 1));
  std::nth_element(values.begin(), at, values.end());
  return *at;
}

// Only figures of this name are measured; all if it is empty.
std::string wanted;

// A further comparison of a call, in addition to its floor.
struct Comparisons {
  std::function<double()> polling;  // the floor, with a poll before each receive
  std::function<double()> bus;
};

// Measures the figure, its floor and, if any, the comparisons, turn by turn, and prints
// medians, the slowest tenth, and the median of the turns' ratios.
void compare(const std::string& what, int turns, const std::function<double()>& figure,
             const std::function<double()>& floor, const Comparisons& others = {}) {
  if (what.find(wanted) == std::string::npos) return;
  std::vector<double> figures;
  std::vector<double> floors;
  std::vector<double> polls;
  std::vector<double> buses;
  std::vector<double> ratios;
  for (int i = -turns / 10; i < turns; ++i) {
    const double one = figure();
    const double two = floor();
    const double three = others.polling ? others.polling() : 0;
    const double four = others.bus ? others.bus() : 0;
    if (i < 0) continue;  // warms up
    figures.push_back(one);
    floors.push_back(two);
    polls.push_back(three);
    buses.push_back(four);
    ratios.push_back(one / two);
  }
  std::printf("%-40s %8.2f us (p90 %8.2f)   floor %8.2f us (p90 %8.2f)   ratio %.2f", what.c_str(),
              part(figures, 0.5), part(figures, 0.9), part(floors, 0.5), part(floors, 0.9),
              part(ratios, 0.5));
  if (others.bus) {
    std::printf("   polling floor %8.2f us   sd-bus %8.2f us", part(polls, 0.5), part(buses, 0.5));
  }
  std::printf("\n");
  std::fflush(stdout);
}

void pause() {
  ::usleep(2000);
}

void thrash() {
  static std::vector<char> memory(16u << 20);
  for (std::size_t i = 0; i < memory.size(); i += 64) memory[i] = char(memory[i] + 1);
}

void measureCalls(const IPCSenderGroup& group, const IPCSenderWebView& view, int processor) {
  bench::pin(group.childPid(), processor);
  const std::string place = processor == here ? "one CPU" : "two CPUs";
  for (const std::size_t length : {std::size_t(0), std::size_t(4096)}) {
    const String title(std::string(length, 't'));
    group.sendMessage(std::make_unique<SetEnvMessage>("title", title));
    if (view.title() != title) giveUp("the title did not arrive");
    // A truth value comes back as its byte, a text with its terminating zero.
    bench::PingPong pingPong(answerTo(length + 1), processor);
    bench::PingPong polling(answerTo(length + 1), processor, true);
    bench::BusPair bus(length, processor);
    const std::string packet(request, 'p');
    const auto call = [&] {
      if (length == 0) {
        static_cast<void>(view.isVisible());
      } else if (view.title().length() != length) {
        giveUp("a title was lost");
      }
    };
    const auto floor = [&] { pingPong.roundTrip(packet); };
    const auto polled = [&] { polling.roundTrip(packet); };
    const auto other = [&] { bus.roundTrip(); };
    const std::string what = length == 0 ? "isVisible, " + place : "title of 4 KiB, " + place;
    compare(
        what + ", hot", 60, [&] { return timed(300, call); }, [&] { return timed(300, floor); },
        {[&] { return timed(300, polled); }, [&] { return timed(100, other); }});
    const auto after = [](void (*before)(), const auto& body) {
      return [before, &body] {
        before();
        return timed(1, body);
      };
    };
    compare(what + ", after 2 ms", 500, after(pause, call), after(pause, floor),
            {after(pause, polled), after(pause, other)});
    compare(what + ", cold caches", 200, after(thrash, call), after(thrash, floor),
            {after(thrash, polled), after(thrash, other)});
  }
}

void measurePosts(const IPCSenderGroup& group, int processor) {
  MainMessageClient& client = *MainMessageClient::instance();
  PostCounter counter;
  // Without other handlers: measures the dispatch only.
  client.removeMessageHandler(&IPCSenderHandler::instance());
  client.installMessageHandler(&counter);
  bench::pin(group.childPid(), processor);
  bench::PacketStream stream(processor);
  const std::string place = processor == here ? "one CPU" : "two CPUs";
  for (const std::size_t length : {std::size_t(0), std::size_t(4096)}) {
    // As many as the kernel buffers without a reader.
    const int together = length == 0 ? 100 : 16;
    const auto posts = [&] {
      counter.count = 0;
      group.sendMessage(std::make_unique<SetEnvMessage>(String::fromSignedInteger(together),
                                                        String::fromSignedInteger(int(length))));
      while (counter.count < together) g_main_context_iteration(nullptr, TRUE);
    };
    const auto floor = [&] { stream.receive(together, post(length)); };
    compare((length == 0 ? "posts of 44 B, " : "posts of 4 KiB, ") + place, 100,
            [&] { return timed(10, posts) / together; },
            [&] { return timed(10, floor) / together; });
  }
  client.removeMessageHandler(&counter);
  client.installMessageHandler(&IPCSenderHandler::instance());
}

// Waits until the previous child has ended completely.
void settle() {
  ::usleep(20'000);
  while (g_main_context_iteration(nullptr, FALSE)) {
  }
}

void measureLaunches(bench::BareLauncher& bare) {
  unsigned int id = servingGroup;
  compare(
      "launch until the handshake, any CPU", 200,
      [&] {
        settle();
        const auto begin = Clock::now();
        const IPCSenderGroup group(++id);
        const auto end = Clock::now();
        if (!group.isConnected()) giveUp("a child did not come");
        return std::chrono::duration<double, std::micro>(end - begin).count();
      },
      [&] {
        settle();
        return timed(1, [&] { bare.launch(); });
      });
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1) wanted = argv[1];
  if (!spawnChildLauncher(childMain)) giveUp("no launcher");
  bench::BareLauncher bare(handshake);
  {
    MainMessageClient client(0, -1);
    measureLaunches(bare);
    IPCSenderGroup group(servingGroup);
    if (!group.isConnected()) giveUp("no child");
    const std::unique_ptr<IPCSenderWebView> view(group.createRemoteWebView(handle, windowGroup, 0));
    if (!view) giveUp("no web view");
    bench::pin(::getpid(), here);
    for (const int processor : {here, 1}) measureCalls(group, *view, processor);
    for (const int processor : {here, 1}) measurePosts(group, processor);
  }
  return 0;
}
