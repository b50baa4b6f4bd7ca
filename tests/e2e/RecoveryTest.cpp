// Pages that die, do not load or take too much memory, in the program's own process and in a child.
#include "tests/support/FileServer.h"
#include "tests/support/Processes.h"
#include "tests/support/SuiteTest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <filesystem>

namespace {

using test_support::clickAt;
using test_support::descendantsNamed;
using test_support::FileServer;
using test_support::httpAnswer;
using test_support::Program;

// The process number of the chrome's web views; empty for its own process.
class RecoveryTest : public test_support::SuiteTest,
                     public testing::WithParamInterface<std::string> {
 protected:
  std::string chrome(const FileServer& server, const std::string& rest) const {
    return "recovery.html?process=" + GetParam() + "&server=" + server.address() + "&" + rest;
  }

  // The engine's processes of pages, without the chrome's, which was the first.
  static std::vector<pid_t> pageProcesses(const Program& program) {
    const auto children = descendantsNamed(program.pid(), "pagehost-webview");
    const bool inChild = !children.empty();
    auto web = descendantsNamed(inChild ? children.front() : program.pid(), "WebKitWebPro");
    std::ranges::sort(web);
    if (!inChild && !web.empty()) web.erase(web.begin());
    return web;
  }

  static std::string document(const std::string& title, const std::string& script = {}) {
    return "<title>" + title + "</title><script>" + script + "</script>";
  }
};

TEST_P(RecoveryTest, WhatDiesOrDoesNotLoadIsTriedAgainHiddenPagesWhenTheyAreShown) {
  FileServer server;
  const auto notYet = "HTTP/1.1 503 Not yet\r\nConnection: close\r\nContent-Length: 0\r\n\r\n";
  server.addAnswer("shown", notYet);
  server.addAnswer("left", notYet);
  server.add("hidden", "text/html", document("hidden"));
  server.add("other", "text/html", document("other"));
  Program program(environment(chrome(server, "pages=shown,hidden,left")));
  ASSERT_TRUE(program.waitForLine(R"(shown ReloadScheduled {"delay":1000,)")) << program.errors();
  server.add("shown", "text/html", document("here"));
  ASSERT_TRUE(program.waitForLine("shown shows here")) << program.errors();

  for (const pid_t process : pageProcesses(program)) ASSERT_EQ(::kill(process, SIGKILL), 0);
  bool shownAgain = false;
  bool hiddenWaits = false;
  for (int lines = 0; lines < 30 && !(shownAgain && hiddenWaits); ++lines) {
    const auto line = program.nextLine();
    ASSERT_TRUE(line) << program.errors();
    hiddenWaits |= line->starts_with(R"(hidden ReloadScheduled {"delay":1000,)") &&
                   line->ends_with(R"("whenShown":true})");
    shownAgain |= *line == "shown shows here";
  }
  EXPECT_TRUE(hiddenWaits);
  EXPECT_TRUE(shownAgain) << program.errors();
  EXPECT_EQ(server.requestsFor("hidden"), 1) << "it was loaded out of sight";
  clickAt(400, 400);
  EXPECT_TRUE(program.waitForLine("hidden shows hidden")) << program.errors();
  EXPECT_EQ(server.requestsFor("left"), 1) << "it was tried again though something else was loaded";
}

// In a child alone: the limit is set and noticed by the same code in either process.
class MemoryLimitTest : public RecoveryTest {};

TEST_P(MemoryLimitTest, APageThatTakesTooMuchMemoryIsToldOfAndStartedAnew) {
  std::atomic<int> requests = 0;
  FileServer server([&](const std::string& request) {
    // Three times the limit at most, should nobody stop it.
    const char* const eats =
        "const kept = []; const timer = setInterval(() => {"
        " if (kept.push(new Uint8Array(32 << 20).fill(7)) === 40) clearInterval(timer) }, 50)";
    const bool isPage = request.find("/page/greedy ") != std::string::npos;
    return httpAnswer("text/html",
                      isPage && ++requests == 1 ? document("eats", eats) : document("fine"));
  });
  Program program(environment(chrome(server, "pages=greedy&asks=no")),
                  {"--web-process-memory-limit=400"});
  ASSERT_TRUE(program.waitForLine("greedy shows eats")) << program.errors();
  ASSERT_TRUE(program.waitForLine(R"("limit":419430400,"process":)")) << program.errors();
  EXPECT_TRUE(program.waitForLine("greedy ReloadScheduled")) << program.errors();
  EXPECT_TRUE(program.waitForLine("greedy shows fine")) << program.errors();
}

INSTANTIATE_TEST_SUITE_P(InEitherProcess, RecoveryTest, testing::Values("", "1"),
                         [](const auto& info) { return info.param.empty() ? "here" : "child"; });
INSTANTIATE_TEST_SUITE_P(InAChild, MemoryLimitTest, testing::Values("1"));

}  // namespace
