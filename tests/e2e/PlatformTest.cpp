// The real program and its environment: window, control socket, fonts, other applications.
#include "platform/desktop/Notifications.h"
#include "tests/support/SuiteTest.h"
#include "tests/support/Waiting.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string_view>

namespace {

using Tessel::Platform::Notification;
using Tessel::Platform::notifications;
using Tessel::Platform::Testing::iterateUntil;
using test_support::Program;

class PlatformTest : public test_support::SuiteTest {
 protected:
  PlatformTest() {
    std::filesystem::create_directories(folder_ / "config/fontconfig");
    std::filesystem::create_directories(folder_ / "data/applications");
  }

  Program::Environment environment(const std::string& calls = "[]") const {
    return SuiteTest::environment("platform.html?calls=" + calls,
                                  {{"XDG_CONFIG_HOME", (folder_ / "config").string()}});
  }

  // The exit status of the control client.
  static std::optional<int> control(const Program& program, std::vector<std::string> words) {
    words.insert(words.begin(), {"--pid", std::to_string(program.pid())});
    return Program({}, words, "pagehost-ctl", PAGEHOST_TEST_CONTROL).status();
  }
};

TEST_F(PlatformTest, TheChromeHearsWhatHappensToItsWindow) {
  Program program(environment());
  ASSERT_TRUE(program.waitForLine("ready")) << program.errors();
  const unsigned long window = test_support::topLevelWindow("pagehost");
  ASSERT_NE(window, 0u);
  test_support::giveKeyboardTo(window);
  EXPECT_TRUE(program.waitForLine("application.onWindowActive []"));

  test_support::showTopLevel(window, false);
  EXPECT_TRUE(program.waitForLine(R"(application.onWindowState ["minimized"])"));
  EXPECT_TRUE(program.waitForLine("application.onWindowCoverEnter []"));
  test_support::showTopLevel(window, true);
  EXPECT_TRUE(program.waitForLine(R"(application.onWindowState ["normal"])"));
  EXPECT_TRUE(program.waitForLine("application.onWindowCoverExit []"));

  test_support::coverScreen(true);
  EXPECT_TRUE(program.waitForLine(R"(application.onWindowState ["covered"])"));
  test_support::coverScreen(false);
  EXPECT_TRUE(program.waitForLine(R"(application.onWindowState ["normal"])"));
}

TEST_F(PlatformTest, TheScreenIsBlankedAndWokenAndItsUserIsIdle) {
  Program program(environment(R"([{"call":["application.watchScreen",1]},)"
                              R"({"call":["application.blankScreen"]},)"
                              R"({"after":"onScreenBlank","call":["application.wakeScreen"]},)"
                              R"({"after":"onUserIdle","call":["application.idleTime"]}])"));
  ASSERT_TRUE(program.waitForLine(R"(application.blankScreen returns "1")")) << program.errors();
  EXPECT_TRUE(program.waitForLine("application.onScreenBlank []")) << program.errors();
  EXPECT_TRUE(program.waitForLine("application.onScreenWake []")) << program.errors();
  ASSERT_TRUE(program.waitForLine("application.onUserIdle []")) << program.errors();
  const auto idle = program.nextLine();
  constexpr std::string_view answer = R"(application.idleTime returns ")";
  ASSERT_TRUE(idle && idle->starts_with(answer)) << idle.value_or("");
  const long milliseconds = std::atol(idle->c_str() + answer.size());
  EXPECT_GE(milliseconds, 1000) << *idle;
  EXPECT_LT(milliseconds, 30000) << *idle;
  test_support::movePointer(10, 10);
  test_support::movePointer(11, 11);
  EXPECT_TRUE(program.waitForLine("application.onUserActive []")) << program.errors();
}

TEST_F(PlatformTest, TheControlRaisesEveryNotification) {
  Program program(environment());
  ASSERT_TRUE(program.waitForLine("ready")) << program.errors();
  for (const Notification& notification : notifications()) {
    const std::string name = notification.name;
    std::vector<std::string> words{name};
    words.resize(1 + notification.count, "7");
    if (name == "onExit") continue;
    EXPECT_EQ(control(program, words), 0) << name;
    if (name == "onRotateCheck") continue;  // a query, which is not passed to the chrome
    EXPECT_TRUE(program.waitForLine(std::string(notification.group) + "." + name + " ["))
        << name << program.errors();
  }
  EXPECT_EQ(control(program, {"onExit"}), 0);
  EXPECT_TRUE(program.waitForLine("application.onExit []")) << program.errors();
  EXPECT_EQ(program.status(), 0);
}

TEST_F(PlatformTest, ARegionOfTheControlIsThatOfTheUser) {
  Program program(
      environment(R"([{"after":"onRegionChange","call":["application.systemRegion"]}])"));
  ASSERT_TRUE(program.waitForLine("ready")) << program.errors();
  EXPECT_EQ(control(program, {"onRegionChange", "zh_Hant_TW"}), 0);
  EXPECT_TRUE(program.waitForLine(R"(application.onRegionChange ["zh-Hant_TW"])"));
  EXPECT_TRUE(program.waitForLine(R"(application.systemRegion returns "zh-Hant_TW")"));
  EXPECT_EQ(control(program, {"onKeyboardPosition", "low"}), 1);
  EXPECT_EQ(control(program, {"onRegionChange"}), 2);
  EXPECT_EQ(control(program, {"onNothing"}), 2);
}

TEST_F(PlatformTest, TheChromeHearsOfTheEndWhoeverAsksForIt) {
  for (const std::string asker : {"the window", "a signal", "the chrome"}) {
    Program program(
        environment(asker == "the chrome" ? R"([{"call":["application.requestExit"]}])" : "[]"));
    ASSERT_TRUE(program.waitForLine("ready")) << program.errors();
    ASSERT_TRUE(asker != "the window" || test_support::requestClose("pagehost"));
    ASSERT_TRUE(asker != "a signal" || ::kill(program.pid(), SIGTERM) == 0);
    EXPECT_TRUE(program.waitForLine("application.onExit []")) << asker << program.errors();
    EXPECT_EQ(program.status(), 0) << asker;
  }
}

TEST_F(PlatformTest, OtherFontsAreNoticed) {
  Program program(environment());
  ASSERT_TRUE(program.waitForLine("ready")) << program.errors();
  // Every requested font family resolves to this one.
  for (const std::string family : {"DejaVu Serif", "DejaVu Sans Mono"}) {
    std::ofstream(folder_ / "config/fontconfig/fonts.conf")
        << R"(<?xml version="1.0"?><!DOCTYPE fontconfig SYSTEM "fonts.dtd"><fontconfig>
<match target="pattern"><edit name="family" mode="assign" binding="strong">
<string>)"
        << family << "</string></edit></match></fontconfig>";
    EXPECT_TRUE(program.waitForLine("application.onFontInfoChange [\"" + family + "\","))
        << program.errors();
  }
}

TEST_F(PlatformTest, ObjectsAreSharedWithWhoeverEditsTheirFiles) {
  const std::string file = "data/pagehost/pps/dir/status";
  temporary_.write(file, "level:n:1\n");
  // It echoes every value; a repeated value raises no event.
  Program program(
      environment(R"([{"call":["pps.open",2,"/dir/status",0,2,0]},{"after":"onEvent",)"
                  R"("call":["pps.write",2,"{\"level\":3,\"name\":null,\"on\":true}"]}])"));
  ASSERT_TRUE(program.waitForLine(
      R"(pps.open returns "{\"result\":true,\"data\":{\"status\":{\"level\":1}}}")"))
      << program.errors();
  const auto hears = [&](const std::string& value) {
    return program.waitForLine(R"(pps.onEvent [2,"NewData","{\"status\":{)" + value + R"(}}"])");
  };
  ASSERT_TRUE(hears(R"(\"level\":3,\"on\":true)")) << program.errors();
  // Else its answer to that could take the place of what is written next before it was read.
  ASSERT_TRUE(program.waitForLine(R"(pps.write returns "true")")) << program.errors();
  EXPECT_EQ(temporary_.read(file), "@status\nlevel:n:3\non:b:true\n");
  temporary_.write("edited", "level:n:2\nname::outside\n");
  std::filesystem::rename(folder_ / "edited", folder_ / file);
  EXPECT_TRUE(hears(R"(\"level\":2,\"name\":\"outside\")")) << program.errors();
  EXPECT_TRUE(hears(R"(\"level\":3,\"on\":true)")) << program.errors();
}

TEST_F(PlatformTest, AnAddressIsOpenedWithTheApplicationThatIsRegisteredForIt) {
  const std::string seen = (folder_ / "seen").string();
  const std::string script = (folder_ / "opener").string();
  std::ofstream(script) << "#!/bin/sh\nprintf %s \"$1\" >" << seen << ".new\nmv " << seen << ".new "
                        << seen << "\n";
  std::filesystem::permissions(script, std::filesystem::perms::owner_all);
  std::ofstream(folder_ / "data/applications/opener.desktop")
      << "[Desktop Entry]\nType=Application\nName=Opener\nExec=" << script
      << " %u\nMimeType=x-scheme-handler/phtest;\n";
  std::ofstream(folder_ / "config/mimeapps.list")
      << "[Default Applications]\nx-scheme-handler/phtest=opener.desktop\n";

  Program program(environment(
      R"([{"call":["invocation.queryTargets","q","{\"uri\":\"phtest:a\"}"]},)"
      R"({"call":["invocation.invoke","i","{\"uri\":\"phtest:$(id)'; id\"}"]},)"
      R"({"call":["invocation.invoke","n","{\"uri\":\"phtest:a\",\"target\":\"other.desktop\"}"]},)"
      R"({"call":["invocation.invoke","p","{\"file\":\"/bin/sh\"}"]}])"));
  EXPECT_TRUE(
      program.waitForLine("invocation.onQueryTargetsResponse [\"q\",\"[{\\\"target\\\":"
                          "\\\"opener.desktop\\\",\\\"name\\\":\\\"Opener\\\","
                          "\\\"default\\\":true}]\",\"\"]"))
      << program.errors();
  EXPECT_TRUE(
      program.waitForLine("invocation.onInvokeResponse [\"i\",\"{\\\"target\\\":"
                          "\\\"opener.desktop\\\""));
  EXPECT_TRUE(program.waitForLine(
      R"(["n","","No such application is registered for x-scheme-handler/phtest"])"));
  EXPECT_TRUE(program.waitForLine(R"(["p","","Programs are not opened"])"));
  EXPECT_TRUE(iterateUntil([&] { return std::filesystem::exists(seen); }));
  EXPECT_EQ(test_support::contentOf(seen), "phtest:$(id)'; id")
      << "it is one word, and nothing runs it";
}

TEST_F(PlatformTest, AViewerIsOpenedTalkedToAndClosed) {
  const std::string page = "file://" + (folder_ / "root/content.html").string();
  // Messages fail until the viewer's control socket exists, and are sent again.
  Program program(environment(
      R"([{"call":["invocation.invokeViewer","v","show","{\"uri\":\")" + page + R"(\"}"]},)" +
      R"({"after":"onViewerCreate","call":["invocation.viewerRelay","show","hello"]},)"
      R"({"after":"onWindowCover","call":["invocation.viewerRelay","show","hello"]},)"
      R"({"after":"onPooled","call":["invocation.closeViewer","show"]},)"
      R"({"after":"onPooled","call":["invocation.viewerRelay","none","hello"]}])"));
  EXPECT_TRUE(
      program.waitForLine(R"(invocation.onInvokeViewerResponse ["v","{\"viewer\":\"show\"}"])"))
      << program.errors();
  const std::string reached = R"(invocation.onViewerRelayResponse ["show","{}"])";
  const auto deadline = std::chrono::steady_clock::now() + Program::patience;
  for (bool heard = false; !heard;) {
    ASSERT_LT(std::chrono::steady_clock::now(), deadline) << program.errors();
    const auto line = program.nextLine();
    ASSERT_TRUE(line) << program.errors();
    heard = *line == reached;
    if (!heard && line->starts_with("invocation.onViewerRelayResponse")) {
      ::usleep(100000);
      EXPECT_EQ(control(program, {"onWindowCover", "again"}), 0);
    }
  }
  EXPECT_EQ(control(program, {"onPooled"}), 0);
  EXPECT_TRUE(program.waitForLine(
      R"(invocation.onViewerRelayResponse ["none","{\"error\":\"There is no such viewer\"}"])"));
  EXPECT_TRUE(program.waitForLine(R"(invocation.onViewerStopped ["show"])")) << program.errors();
}

}  // namespace
