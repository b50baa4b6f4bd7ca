// The web inspector between its native functions, the server and web views without an engine. Main
// thread; the load of the last test comes from others.
#include "engine/OrvWebEvents.h"
#include "tests/support/ChromeFixture.h"
#include "tests/support/HttpPeer.h"
#include "webview/WebInspectorClient.h"

#include <poll.h>

#include <atomic>
#include <thread>

namespace {

using namespace Tessel::Platform;
using test_support::ChromeFixture;
using test_support::connectTo;
using test_support::frame;
using test_support::HttpPeer;
using Testing::iterateUntil;

class WebInspectorClientTest : public ChromeFixture {
 protected:
  ~WebInspectorClientTest() override { server.stop(); }

  bool allowed(unsigned int handle) {
    return callNative({"webInspector.enabledForWebView", std::to_string(handle).c_str()}) == "true";
  }

  MongooseHttpServer& server = *MongooseHttpServer::instance();
  WebInspectorClient& inspector = manager.inspector();
};

TEST_F(WebInspectorClientTest, WebViewsMayBeInspectedUntilTheChromeOrTheirEndSaysNo) {
  const unsigned int first = createWebView();
  const unsigned int second = createWebView();
  const std::string handle = std::to_string(first);
  EXPECT_TRUE(allowed(first));
  EXPECT_TRUE(webView(first).isWebEventEnabled(OrvWebEvent::InspectorMessage));
  callNative({"webInspector.setEnabledForWebView", handle.c_str(), "false"});
  EXPECT_FALSE(allowed(first));
  EXPECT_FALSE(webView(first).isWebEventEnabled(OrvWebEvent::InspectorMessage));
  callNative({"webview.setAllowWebInspection", "x", handle.c_str(), "FALSE"});
  inspector.addInspectable(first);
  std::vector<InspectablePage> pages;
  inspector.inspectablePages(pages);
  ASSERT_GE(pages.size(), 3u);
  EXPECT_EQ(pages.front().handle, WebViewManager::rootHandle);
  EXPECT_EQ(pages.back().handle, first) << "added anew, at the end, once";
  EXPECT_EQ(pages[pages.size() - 2].handle, second);
  EXPECT_EQ(inspector.inspectablePageAt(pages.size() - 1), first);
  EXPECT_EQ(inspector.inspectablePageAt(pages.size()), 0u);
  callNative({"webview.delete", handle.c_str()});
  EXPECT_FALSE(allowed(first));
  EXPECT_EQ(inspector.pageNotFoundText(), "The page you are trying to inspect doesn't exist.");
}

// For the thread sanitizer above all: see tools/tsan-inspector.
TEST_F(WebInspectorClientTest, EverybodyAtOnce) {
  constexpr int rounds = 300;
  server.start();
  const unsigned int lasting = createWebView();
  const std::string list = HttpPeer(server.port()).get("/json");
  const std::string path = test_support::socketPathIn(list, std::to_string(lasting));
  std::atomic<int> running = 0;
  std::atomic<int> answers = 0;
  std::vector<std::thread> threads;
  const auto start = [&](auto work) {
    ++running;
    threads.emplace_back([&running, work] {
      for (int i = 0; i < rounds; ++i) work();
      --running;
    });
  };
  // Front ends that connect, send, and disconnect abruptly; they replace one another.
  const auto frontEnd = [&] {
    const UniqueFd socket = connectTo(server.port());
    const std::string talk = test_support::upgradeRequest(server.port(), path) +
                             frame(test_support::wholeText, "{\"id\":1}");
    ::send(socket.get(), talk.data(), talk.size(), MSG_NOSIGNAL);
    pollfd readable{socket.get(), POLLIN, 0};
    char text[512];
    if (::poll(&readable, 1, 5000) > 0 && ::recv(socket.get(), text, sizeof text, 0) > 0) ++answers;
  };
  for (int i = 0; i < 3; ++i) start(frontEnd);
  start([&] {
    for (int i = 0; i < 20; ++i) {
      inspector.sendToFrontEnd(lasting, "{\"message\":\"hello\"}");
      inspector.containsInspectable(lasting);
      inspector.inspectablePageAt(1);
    }
  });
  start([&] { server.isRunning() ? void(server.port()) : void(); });
  int turns = 0;
  EXPECT_TRUE(iterateUntil([&] {
    if (++turns % 10 == 0) {
      const unsigned int passing = createWebView();
      inspector.removeInspectable(passing);
      inspector.addInspectable(passing);
      manager.destroyWebView(passing);
    }
    if (turns % 25 == 0) inspector.disconnectAllPages();
    return running == 0;
  }));
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(answers, 3 * rounds) << "everybody was let in";
  EXPECT_TRUE(inspector.containsInspectable(lasting));
}

}  // namespace
