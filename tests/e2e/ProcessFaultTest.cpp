// Kills processes of the program at random moments while it is working: the death of one does not
// affect the others, and all end with the main process.
#include "tests/support/FileContent.h"
#include "tests/support/Processes.h"
#include "tests/support/SuiteTest.h"
#include "tests/support/Waiting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <random>
#include <sstream>
#include <thread>

namespace {

using namespace std::chrono_literals;
using test_support::childrenOf;
using test_support::descendantsNamed;
using test_support::isRunning;
using test_support::nameOf;
using test_support::Program;

class ProcessFaultTest : public test_support::SuiteTest {
 protected:
  std::unique_ptr<Program> start() const {
    return std::make_unique<Program>(
        environment("crowd.html", {{"XDG_RUNTIME_DIR", folder_.string()}}));
  }

  // Reads until every web view is working.
  static ::testing::AssertionResult everybodyWorks(Program& program) {
    for (int beats = 0; beats < 200; ++beats) {
      const auto line = program.nextLine();
      if (!line) return ::testing::AssertionFailure() << "silence; " << program.errors();
      if (*line == "beat 6") return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << "not all web views come back; " << program.errors();
  }

  // The number of kills; can be raised for longer runs.
  static int rounds() {
    const char* wished = std::getenv("PAGEHOST_FAULT_ROUNDS");
    return wished ? std::atoi(wished) : 12;
  }
};

pid_t launcherOf(const Program& program) {
  const auto found = descendantsNamed(program.pid(), "webkit-child-launcher");
  return found.empty() ? -1 : found.front();
}

TEST_F(ProcessFaultTest, ChildrenAndEngineProcessesDieAndTheRestGoesOn) {
  const auto program = start();
  std::mt19937 random(20261124);
  const auto pick = [&](const std::vector<pid_t>& pids) {
    return pids[std::uniform_int_distribution<std::size_t>(0, pids.size() - 1)(random)];
  };
  ASSERT_TRUE(everybodyWorks(*program));
  const pid_t launcher = launcherOf(*program);
  ASSERT_GT(launcher, 0);
  for (int round = 0; round < rounds(); ++round) {
    const auto children = childrenOf(launcher);
    ASSERT_EQ(children.size(), 3u);
    const pid_t child = pick(children);
    EXPECT_EQ(nameOf(child), "pagehost-webview");
    std::this_thread::sleep_for(
        std::chrono::milliseconds(std::uniform_int_distribution<int>(0, 30)(random)));
    if (round % 3 != 2) {
      SCOPED_TRACE("a child");
      ::kill(child, SIGKILL);
      ASSERT_TRUE(program->waitForLine("(child process " + std::to_string(child) +
                                       ") has died unexpectedly!"))
          << program->errors();
      // Two web views, in the order of their creation.
      int last = 0;
      for (int crashed = 0; crashed < 2;) {
        const auto line = program->nextLine();
        ASSERT_TRUE(line) << program->errors();
        EXPECT_FALSE(line->starts_with("error ")) << *line;
        if (!line->starts_with("crashed ")) continue;
        const int handle = std::atoi(line->c_str() + 8);
        EXPECT_GT(handle, last);
        last = handle;
        ++crashed;
      }
    } else {
      SCOPED_TRACE("an engine process of a child");
      const auto web = descendantsNamed(child, "WebKitWebProces");
      ASSERT_FALSE(web.empty());
      ::kill(pick(web), SIGKILL);
      ASSERT_TRUE(program->waitForLine("again ")) << program->errors();
      EXPECT_TRUE(isRunning(child)) << "the group has died with it";
    }
    ASSERT_TRUE(everybodyWorks(*program)) << "round " << round;
  }

  ::kill(launcher, SIGKILL);
  ASSERT_TRUE(program->waitForError("Child launcher exited"));
  ASSERT_TRUE(everybodyWorks(*program)) << "old groups need the launcher";
  // The children are orphans now.
  const auto ours = [&] {
    auto all = test_support::allProcesses();
    std::erase_if(all, [&](pid_t pid) {
      return pid == program->pid() || !isRunning(pid) ||
             test_support::environmentOf(pid).find(folder_.string()) == std::string::npos;
    });
    return all;
  };
  auto orphans = ours();
  std::erase_if(orphans, [](pid_t pid) { return nameOf(pid) != "pagehost-webview"; });
  ASSERT_EQ(orphans.size(), 3u);
  ::kill(orphans.front(), SIGKILL);
  ASSERT_TRUE(
      program->waitForLine("encountered error: Error writing launch data to child launcher "
                           "pipe: Broken pipe(32)!"))
      << program->errors();

  ::kill(program->pid(), SIGKILL);
  Tessel::Platform::Testing::iterateUntil([&] { return ours().empty(); });
  for (const pid_t pid : ours()) ADD_FAILURE() << nameOf(pid) << " lives on as " << pid;
}

bool startedBefore(pid_t a, pid_t b) {
  // The process name may contain any characters; the start time is the 20th field after it.
  const auto start = [](pid_t pid) {
    const std::string text = test_support::contentOf("/proc/" + std::to_string(pid) + "/stat");
    std::istringstream fields(text.substr(std::min(text.rfind(')') + 1, text.size())));
    std::string field;
    for (int i = 0; i < 20; ++i) fields >> field;
    return std::strtoull(field.c_str(), nullptr, 10);
  };
  return start(a) < start(b);
}

TEST_F(ProcessFaultTest, AWebViewMayBeDeletedWhileTheEndOfItsProcessIsTold) {
  // Freed memory is overwritten.
  Program program(environment(
      "deleted.html",
      {{"PAGEHOST_SANDBOX", "off"}, {"G_SLICE", "always-malloc"}, {"MALLOC_PERTURB_", "85"}}));
  for (int round = 0; round < 3; ++round) {
    ASSERT_TRUE(program.waitForLine("loaded")) << program.errors();
    const auto web = descendantsNamed(program.pid(), "WebKitWebProces");
    // The first is the chrome's: use the other one.
    ASSERT_GE(web.size(), 2u);
    ::kill(*std::max_element(web.begin(), web.end(), startedBefore), SIGKILL);
  }
  EXPECT_TRUE(program.waitForLine("loaded")) << program.errors();
}

}  // namespace
