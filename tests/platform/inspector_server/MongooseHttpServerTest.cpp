// The web inspector's server, with a client that only records calls. Main thread.
#include "platform/inspector_server/MongooseHttpServer.h"
#include "platform/inspector_server/PageList.h"
#include "tests/support/ChromeFixture.h"
#include "tests/support/HttpPeer.h"

#include <sys/fsuid.h>

#include <map>

namespace {

using namespace Tessel::Platform;
using test_support::frame;
using test_support::HttpPeer;
using test_support::inOwnProcess;
using Testing::iterateUntil;

class RememberingClient final : public MongooseClient {
 public:
  std::vector<InspectablePage> pages{{2, "A <b>page</b> & more", "http://x/'\"<>"}, {7, "", "y"}};
  std::map<unsigned int, GuardedPointer<WebSocketConnection>> connections;
  int gone = 0;
  std::vector<std::string> messages;

  void inspectablePages(std::vector<InspectablePage>& list) override {
    list.insert(list.end(), pages.begin(), pages.end());
  }
  void setPageConnection(unsigned int handle,
                         const GuardedPointer<WebSocketConnection>& connection) override {
    MongooseHttpServer::instance()->closeWebSocketConnection(connections[handle], false);
    connections[handle] = connection;
    if (!connection) ++gone;
  }
  void handleFrontEndMessage(unsigned int handle, const std::string& message) override {
    messages.push_back(std::to_string(handle) + " " + message);
  }
  void disconnectAllPages() override {}
  unsigned int inspectablePageAt(std::size_t index) override {
    return index < pages.size() ? pages[index].handle : 0;
  }
  std::string pageNotFoundText() override { return {}; }
};

// In a separate process, where the manager, if it exists, does not need the server any more.
class Served {
 public:
  Served() {
    server.setPreventClientOverride(false);
    server.setClient(&client);
    server.start();
  }
  std::string socketPath(unsigned int handle) {
    return test_support::socketPathIn(HttpPeer(server.port()).get("/json"), std::to_string(handle));
  }

  MainMessageClient main{0, -1};
  MongooseHttpServer& server = *MongooseHttpServer::instance();
  RememberingClient client;
};

void withServer(const std::function<void(Served&)>& body) {
  inOwnProcess([&] {
    Served served;
    ASSERT_TRUE(served.server.isRunning());
    body(served);
  });
}

TEST(MongooseHttpServerTest, WhatIsNotForAnInspectorOfThisMachineIsRefused) {
  withServer([](Served& served) {
    const int port = served.server.port();
    const std::string host = "Host: 127.0.0.1:" + std::to_string(port) + "\r\n";
    const std::string path = served.socketPath(2);
    std::string wrongToken = path;
    wrongToken[10] = wrongToken[10] == '0' ? '1' : '0';
    const std::string unknown = path.substr(0, path.size() - 1) + "3";
    const auto upgrade = [&](const std::string& where, const std::string& headers = "") {
      return test_support::upgradeRequest(port, where, headers);
    };
    const auto get = [](const std::string& headers) {
      return "GET /json HTTP/1.1\r\n" + headers + "\r\n";
    };
    const std::pair<std::string, const char*> requests[] = {
        {get("Host: attacker.example\r\n"), "403"},
        {get("Host: 127.0.0.1.attacker.example\r\n"), "403"},
        {get("Host: localhost:1@attacker.example\r\n"), "403"},
        {get("Host: [::1]:77\r\n"), "200"},
        {get("Host: localhost\r\n"), "200"},
        {"GET /json HTTP/1.0\r\n\r\n", "403"},
        {"POST /json HTTP/1.1\r\n" + host + "Content-Length: 3\r\n\r\nabc", "405"},
        {get(host + "Content-Length: 3\r\n") + "abc", "413"},
        {"GET /../../etc/passwd HTTP/1.1\r\n" + host + "\r\n", "404"},
        {"GET /front-end/Main.html HTTP/1.1\r\n" + host + "\r\n", "404"},
        {upgrade(wrongToken), "404"},
        {upgrade("/socket//2"), "404"},
        {upgrade(unknown), "404"},
        {upgrade(path, "Origin: http://attacker.example\r\n"), "403"},
        {upgrade(path, "Origin: http://localhost:" + std::to_string(port) + "\r\n"), "403"},
        {upgrade(path, "Origin: null\r\n"), "403"},
        {"GET " + path + " HTTP/1.1\r\n" + host + "\r\n", "400"},
        {upgrade(path, "Origin: http://127.0.0.1:" + std::to_string(port) + "\r\n"), "101"},
        {"nonsense\r\n\r\n", "400"},
    };
    for (const auto& [request, status] : requests) {
      HttpPeer peer(port);
      peer.send(request);
      EXPECT_TRUE(peer.waitFor("\r\n\r\n")) << request;
      EXPECT_EQ(peer.received.substr(9, 3), status) << request << "\n" << peer.received;
    }
  });
}

TEST(MongooseHttpServerTest, OnlyItsOwnUserIsServed) {
  withServer([](Served& served) {
    const std::string request = "GET / HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
    // The owner of an IPv6 socket is found as well.
    const UniqueFd mapped(::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    ::inet_pton(AF_INET6, "::ffff:127.0.0.1", &address.sin6_addr);
    address.sin6_port = htons(static_cast<std::uint16_t>(served.server.port()));
    ASSERT_EQ(::connect(mapped.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ::send(mapped.get(), request.data(), request.size(), 0);
    char first = 0;
    EXPECT_TRUE(iterateUntil([&] { return ::recv(mapped.get(), &first, 1, MSG_DONTWAIT) == 1; }));
    if (::geteuid() != 0) return;  // only root can change the user
    ::setfsuid(65534);
    HttpPeer stranger(served.server.port());
    ::setfsuid(0);
    stranger.send(request);
    EXPECT_TRUE(stranger.waitForEnd());
    EXPECT_EQ(stranger.received, "");
  });
}

TEST(MongooseHttpServerTest, AFrontEndThatWasReplacedIsHeardNoMore) {
  withServer([](Served& served) {
    HttpPeer first(served.server.port());
    HttpPeer second(served.server.port());
    const std::string path = served.socketPath(2);
    ASSERT_TRUE(first.upgrade(path));
    ASSERT_TRUE(iterateUntil([&] { return bool(served.client.connections[2]); }));
    served.server.sendWebSocketMessageToFrontEnd("\xff", served.client.connections[2]);
    served.server.sendWebSocketMessageToFrontEnd("answer \xc3\xa4", served.client.connections[2]);
    EXPECT_TRUE(first.waitFor(std::string("\x81\x09", 2) + "answer \xc3\xa4"));
    ASSERT_TRUE(second.upgrade(path));
    EXPECT_TRUE(first.waitFor("in another place"));
    first.send(frame(test_support::wholeText, "too late"));
    first.close();
    second.send(frame(test_support::firstOfText, "hal") + frame(test_support::moreOfText, "f") +
                frame(0x80, "!"));
    EXPECT_TRUE(iterateUntil([&] { return !served.client.messages.empty(); }));
    EXPECT_EQ(served.client.messages, std::vector<std::string>{"2 half!"});
    EXPECT_EQ(served.client.gone, 0) << "the first one's end is not the second's";
    second.close();
    EXPECT_TRUE(iterateUntil([&] { return served.client.gone == 1; }));
  });
}

TEST(MongooseHttpServerTest, BrokenAndGiantMessagesEndTheirConnection) {
  withServer([](Served& served) {
    const std::string part(1u << 20, 'x');
    const std::string path = served.socketPath(2);
    std::string endless = frame(test_support::firstOfText, part);
    for (int i = 0; i < 8; ++i) endless += frame(test_support::moreOfText, part);
    const std::string attempts[] = {
        frame(test_support::wholeText, "x", 1ull << 40),
        frame(test_support::wholeText, "x", MongooseHttpServer::longestMessage + 1),
        endless,
        frame(test_support::wholeText, "\xff\xfe"),
        frame(0x82, "binary"),
        frame(0x83, "reserved"),
        frame(test_support::moreOfText, "continues nothing"),
        frame(0x89, std::string(126, 'x')),
        std::string("\x81\x05hello", 7),  // without a mask
    };
    for (const std::string& attempt : attempts) {
      HttpPeer peer(served.server.port());
      ASSERT_TRUE(peer.upgrade(path));
      const int gone = served.client.gone;
      peer.send(attempt);
      EXPECT_TRUE(iterateUntil([&] { return served.client.gone == gone + 1; }))
          << "of " << attempt.size() << " bytes";
    }
    EXPECT_TRUE(served.client.messages.empty());
    // The longest that is allowed, in many parts, and small ones in a burst.
    HttpPeer peer(served.server.port());
    ASSERT_TRUE(peer.upgrade(path));
    std::string parts = frame(test_support::firstOfText, part);
    for (int i = 0; i < 2; ++i) parts += frame(test_support::moreOfText, part);
    std::string burst = parts + frame(0x80, part);
    for (int i = 0; i < 20000; ++i) burst += frame(test_support::wholeText, std::string(500, 'y'));
    EXPECT_TRUE(peer.send(burst));
    EXPECT_TRUE(iterateUntil([&] { return served.client.messages.size() == 20001; }))
        << served.client.messages.size();
  });
}

TEST(MongooseHttpServerTest, AFrontEndThatDoesNotReadIsCutOff) {
  withServer([](Served& served) {
    HttpPeer peer(served.server.port());
    ASSERT_TRUE(peer.upgrade(served.socketPath(2)));
    ASSERT_TRUE(iterateUntil([&] { return bool(served.client.connections[2]); }));
    const std::string message(1u << 20, 'x');
    const auto most = MongooseHttpServer::longestQueue / message.size() + 16;
    std::size_t sent = 0;
    for (; sent < most && served.client.gone == 0; ++sent) {
      served.server.sendWebSocketMessageToFrontEnd(message, served.client.connections[2]);
      g_main_context_iteration(nullptr, FALSE);
    }
    EXPECT_EQ(served.client.gone, 1);
    EXPECT_GE(sent, MongooseHttpServer::longestQueue / message.size());
    EXPECT_TRUE(peer.waitForEnd());
  });
}

TEST(MongooseHttpServerTest, StoppingTakesNoNewOnesAndStartingMakesNewTokens) {
  withServer([](Served& served) {
    const std::string path = served.socketPath(2);
    HttpPeer peer(served.server.port());
    ASSERT_TRUE(peer.upgrade(path));
    const int port = served.server.port();
    served.server.stop();
    EXPECT_FALSE(served.server.isRunning());
    EXPECT_FALSE(test_support::connectTo(port));
    peer.send(frame(test_support::wholeText, "still here"));
    EXPECT_TRUE(iterateUntil([&] { return served.client.messages.size() == 1; }));
    served.server.start();
    EXPECT_EQ(served.server.port(), port);
    EXPECT_NE(served.socketPath(2), path);
    HttpPeer late(port);
    late.send(test_support::upgradeRequest(port, path));
    EXPECT_TRUE(late.waitFor("404"));
  });
}

}  // namespace
