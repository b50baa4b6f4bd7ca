// Inspectors of real pages, in the program's own process and in a child.
#include "tests/support/HttpPeer.h"
#include "tests/support/SuiteTest.h"
#include "tests/support/Waiting.h"

#include <gtest/gtest.h>
#include <netinet/tcp.h>
#include <poll.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

namespace {

using test_support::frame;
using test_support::HttpPeer;
using test_support::Program;

class InspectorTest : public test_support::SuiteTest,
                      public testing::WithParamInterface<const char*> {};

// The addresses that a process listens on, except 127.0.0.1.
std::vector<sockaddr_in> hiddenListeners(pid_t pid) {
  std::set<std::string> inodes;
  for (const auto& entry :
       std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/fd")) {
    std::error_code gone;
    const std::string target = std::filesystem::read_symlink(entry.path(), gone).string();
    if (target.starts_with("socket:[")) inodes.insert(target.substr(8, target.size() - 9));
  }
  std::vector<sockaddr_in> found;
  std::ifstream table("/proc/net/tcp");
  for (std::string line; std::getline(table, line);) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    unsigned int port = 0;
    unsigned int state = 0;
    char inode[24] = {};
    // Between the state and the inode: queues, timer, retransmits, user and timeout.
    std::sscanf(line.c_str(), "%*s %x:%x %*s %x %*s %*s %*s %*s %*s %23s", &address.sin_addr.s_addr,
                &port, &state, inode);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    const bool isHidden = address.sin_addr.s_addr != htonl(INADDR_LOOPBACK);
    if (state == TCP_LISTEN && isHidden && inodes.contains(inode)) found.push_back(address);
  }
  return found;
}

// Whether a request or a handshake gets any reply.
bool answers(const sockaddr_in& address) {
  const Tessel::Platform::UniqueFd socket(
      ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
  pollfd ready{socket.get(), POLLOUT, 0};
  if (::poll(&ready, 1, 500) <= 0 || (ready.revents & POLLERR) != 0) return false;
  const std::string_view request = "GET / HTTP/1.0\r\n\r\n";
  ::send(socket.get(), request.data(), request.size(), MSG_NOSIGNAL);
  ready.events = POLLIN;
  return ::poll(&ready, 1, 500) > 0 && (ready.revents & POLLIN) != 0;
}

std::string wholeText(const std::string& text) {
  return frame(test_support::wholeText, text);
}

std::string evaluating(int id, const std::string& expression) {
  return R"({"id":)" + std::to_string(id) +
         R"(,"method":"Runtime.evaluate","params":{"expression":")" + expression + R"("}})";
}

TEST_P(InspectorTest, PagesAreLookedInto) {
  Program program(environment(std::string("inspected.html") + GetParam()));
  const auto line = program.nextLine();
  ASSERT_TRUE(line) << program.errors();
  std::istringstream words(*line);
  std::string ready, view;
  int port = 0;
  ASSERT_TRUE(words >> ready >> port >> view) << *line;

  // The engine's own server, which lists all pages to any client, is not reachable any more.
  for (const sockaddr_in& address : hiddenListeners(program.pid())) {
    EXPECT_FALSE(answers(address)) << ntohs(address.sin_port);
  }

  // The title is set after the page has loaded.
  std::string list;
  ASSERT_TRUE(Tessel::Platform::Testing::iterateUntil([&] {
    list = HttpPeer(port).get("/json");
    return list.find(R"("title":"inspected page")") != list.npos;
  })) << list;
  const std::string path = test_support::socketPathIn(list, view);
  ASSERT_NE(path, "") << list;

  HttpPeer first(port);
  ASSERT_TRUE(first.upgrade(path));
  first.send(wholeText(evaluating(7, "document.querySelector('h1').textContent + 6 * 7")));
  EXPECT_TRUE(first.waitFor(R"("value":"hello42"},"wasThrown":false},"id":7})")) << first.received;
  first.send(wholeText(R"({"id":8,"method":"DOM.getDocument"})") +
             wholeText(R"({"id":9,"method":"Console.enable"})"));
  EXPECT_TRUE(first.waitFor(R"("nodeName":"#document")")) << first.received;
  EXPECT_TRUE(first.waitFor(R"("text":"tick")")) << first.received;
  for (const char* wish :
       {R"("Debugger.enable")", R"("Debugger.setBreakpointsActive","params":{"active":true})",
        R"("Debugger.setPauseOnDebuggerStatements","params":{"enabled":true})"}) {
    first.send(wholeText(std::string(R"({"id":10,"method":)") + wish + "}"));
  }
  first.send(wholeText(evaluating(11, "setTimeout(() => { debugger; document.title = 'on'; })")));
  EXPECT_TRUE(first.waitFor("Debugger.paused")) << first.received;
  first.close();
  EXPECT_TRUE(program.waitForLine("title on")) << "the page is left paused";

  // The second front end supports the engine's wrapping protocol.
  HttpPeer second(port);
  ASSERT_TRUE(second.upgrade(path));
  ASSERT_TRUE(second.waitFor("\"targetId\":\"page-")) << second.received;
  const std::size_t target = second.received.find("page-");
  const std::string name =
      second.received.substr(target, second.received.find('"', target) - target);
  const auto evaluatingWrapped = [&name](int id, const std::string& expression) {
    return wholeText(R"({"id":)" + std::to_string(id) +
                     R"(,"method":"Target.sendMessageToTarget","params":{"targetId":")" + name +
                     R"(","message":"{\"id\":3,\"method\":\"Runtime.evaluate\",)" +
                     R"(\"params\":{\"expression\":\")" + expression + R"(\"}}"}})");
  };
  second.send(wholeText(R"({"id":1,"method":"Browser.enable"})") + evaluatingWrapped(2, "40 + 3"));
  EXPECT_TRUE(second.waitFor(R"({"result":{},"id":2})")) << second.received;
  EXPECT_TRUE(second.waitFor(R"(\"value\":43)")) << second.received;
  second.send(evaluatingWrapped(4, "document.title='bye'"));
  EXPECT_TRUE(second.waitFor("The inspector was closed")) << second.received;

  HttpPeer late(port);
  late.send(test_support::upgradeRequest(port, path));
  EXPECT_TRUE(late.waitFor("The page you are trying to inspect doesn't exist.")) << late.received;
}

INSTANTIATE_TEST_SUITE_P(Processes, InspectorTest, testing::Values("", "?process=1"),
                         [](const auto& info) {
                           return *info.param ? "InAChild" : "InTheProgram";
                         });

}  // namespace
