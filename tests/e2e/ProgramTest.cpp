// The real program with a chrome of the tests: its display, its answers, its exit.
#include "tests/support/FileServer.h"
#include "tests/support/Processes.h"
#include "tests/support/SuiteTest.h"
#include "tests/support/TlsServer.h"
#include "tests/support/Waiting.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <tuple>

namespace {

using Tessel::Platform::Testing::iterateUntil;
using test_support::clickAt;
using test_support::descendantsNamed;
using test_support::nameOf;
using test_support::Pixel;
using test_support::Program;
using test_support::requestClose;
using test_support::waitForPixel;
using Environment = Program::Environment;

using ProgramTest = test_support::SuiteTest;

// Answers every request with a page whose title is the request.
struct EchoServer : test_support::FileServer {
  EchoServer() : FileServer(answerTo) {}

  static constexpr const char* formPage =
      "<title>form</title><form action=/sent><input name=city><input name=street autocomplete=off>"
      "<input name=pin type=password><input name=card autocomplete=cc-number>"
      "<input name=shown type=password><input name=made><button>send</button></form>";
  static constexpr const char* accountPage =
      "<title>account</title><form action=/sent method=post><input name=user>"
      "<input name=word type=password><button>log in</button></form>";

  static std::string page(const std::string& body) {
    return test_support::httpAnswer("text/html", body);
  }

  static std::string answerTo(const std::string& request) {
    const auto asks = [&](const char* path) {
      return request.find(std::string(" ") + path + " ") != std::string::npos;
    };
    if (asks("/login") && request.find("Authorization: Basic dXNlcjpzZWNyZXQ=") == request.npos) {
      return "HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Basic realm=\"here\"\r\n"
             "Content-Length: 0\r\nConnection: close\r\n\r\n";
    }
    // As a proxy.
    if (request.starts_with("GET http://") &&
        request.find("Proxy-Authorization: Basic dXNlcjpzZWNyZXQ=") == request.npos) {
      return "HTTP/1.1 407 Proxy Authentication Required\r\nProxy-Authenticate: Basic "
             "realm=\"proxy\"\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
    }
    if (asks("/form")) return page(formPage);
    if (asks("/account")) return page(accountPage);
    if (!asks("/file")) return page("<title>" + request + "</title>");
    return test_support::httpAnswer("application/octet-stream", std::string(100000, 'f'),
                                    "Content-Disposition: attachment; filename=\"named.bin\"\r\n");
  }
};

TEST_F(ProgramTest, NativeFunctionsAnswerTheChrome) {
  runSuite("functions.html");
}

TEST_F(ProgramTest, AllProcessesHaveTheSameCookies) {
  const EchoServer server;
  runSuite("cookies.html?server=" + server.address());
  runSuite("cookies.html?again=1&server=" + server.address());
}

// Runs a suite of pages with every web view in the program's own process, or in the child with that
// number.
using Walk = std::tuple<std::string, std::string>;

std::string nameOf(const Walk& walk) {
  const auto& [suite, process] = walk;
  return suite + (process.empty() ? "_here" : "_child");
}

class EngineTest : public ProgramTest, public testing::WithParamInterface<Walk> {
 protected:
  void walk(const std::string& suite, const std::string& process) {
    const EchoServer server;
    const test_support::TlsServer secure;
    const std::string arguments = ".html?process=" + process + "&server=" + server.address() +
                                  "&secure=" + secure.address() + "&folder=" + folder_.string();
    runSuite(suite + arguments);
    if (suite == "engine") {
      EXPECT_EQ(std::filesystem::file_size(folder_ / "saved.bin"), 100000u);
    }
    if (suite != "forms") return;
    // Data stored by the first run, and a proxy that requires authentication.
    runSuite(suite + arguments + "&stage=1");
    for (const char* stage : {"2", "3"}) {
      runSuite(suite + arguments + "&stage=" + stage, {{"http_proxy", server.address()}});
    }
  }
};

TEST_P(EngineTest, WhatCommandsDoAndEventsTellIsSeenOnRealPages) {
  const auto& [suite, process] = GetParam();
  // The folder where the walks store their results for walk-sum.py.
  const char* const results = std::getenv("PAGEHOST_WALK_RESULTS");
  const auto file = (results ? results : folder_) / nameOf(GetParam());
  std::filesystem::remove(file);
  walk(suite, process);
  if (HasFailure()) return;
  std::filesystem::create_directories(file.parent_path());
  std::ofstream(file) << seen_;
}

INSTANTIATE_TEST_SUITE_P(InEitherProcess, EngineTest,
                         testing::Combine(testing::Values("engine", "resources", "input",
                                                          "pageapis", "forms"),
                                          testing::Values("", "1")),
                         [](const auto& info) { return nameOf(info.param); });

TEST_F(ProgramTest, ALoadThatTheEngineGivesUpBeginsAgain) {
  using test_support::TlsServer;
  const TlsServer server(TlsServer::First::LeftAlone);
  runSuite("slow.html?secure=" + server.address());
}

TEST_F(ProgramTest, WindowsOfEitherProcessMoveFadeFollowTheMouseAndCoverEachOther) {
  using test_support::movePointer;
  using test_support::pressButton;
  constexpr Pixel chrome{0, 0, 200};
  constexpr Pixel red{200, 0, 0};
  constexpr Pixel green{0, 200, 0};
  Program program(environment("animations.html"));
  ASSERT_TRUE(program.waitForLine("put back")) << program.errors();
  ASSERT_TRUE(program.waitForLine("animated")) << program.errors();
  EXPECT_TRUE(waitForPixel(402, 198, red)) << "it ended on its target";
  EXPECT_TRUE(waitForPixel(398, 198, chrome));
  EXPECT_TRUE(waitForPixel(410, 110, chrome)) << "its corner is discarded";
  EXPECT_TRUE(waitForPixel(402, 302, green)) << "a web view of a child process";
  EXPECT_TRUE(waitForPixel(398, 302, chrome));
  EXPECT_TRUE(waitForPixel(450, 525, {200, 200, 0})) << "a colour window";

  // Both windows are shifted right by that distance; the red one's corner is discarded.
  const auto expectAt = [&](int x) {
    EXPECT_TRUE(waitForPixel(x + 2, 198, red)) << x;
    EXPECT_TRUE(waitForPixel(x - 2, 198, chrome)) << x;
    EXPECT_TRUE(waitForPixel(x + 97, 302, green)) << x;
    EXPECT_TRUE(waitForPixel(x + 102, 302, chrome)) << x;
  };
  movePointer(200, 590);
  pressButton(1, true);
  ASSERT_TRUE(program.waitForLine("tracking")) << program.errors();
  movePointer(230, 580);
  expectAt(430);
  movePointer(600, 20);
  expectAt(450);
  movePointer(150, 590);
  expectAt(350);
  EXPECT_TRUE(waitForPixel(450, 525, {100, 100, 100})) << "half of the way is half of the colour";
  movePointer(20, 590);
  expectAt(300);
  pressButton(1, false);
  ASSERT_TRUE(program.waitForLine("released at -100")) << program.errors();

  ASSERT_TRUE(program.waitForLine("armed")) << program.errors();
  movePointer(350, 350);
  pressButton(1, true);
  expectAt(250);
  movePointer(370, 590);
  expectAt(270);
  movePointer(420, 350);
  expectAt(320);
  pressButton(1, false);
  ASSERT_TRUE(program.waitForLine("released at 20")) << program.errors();

  ASSERT_TRUE(program.waitForLine("placed")) << program.errors();
  EXPECT_TRUE(waitForPixel(180, 180, red));
  EXPECT_TRUE(waitForPixel(350, 350, green));
  EXPECT_TRUE(waitForPixel(250, 250, green)) << "the later page is above";
  EXPECT_TRUE(waitForPixel(450, 525, chrome)) << "the colour window is transparent";
  // There the chrome receives the click.
  clickAt(450, 525);
  EXPECT_TRUE(program.waitForLine("finished 5, released 3, errors 0 "));
  EXPECT_TRUE(waitForPixel(250, 250, red)) << "the red page was raised";
  EXPECT_TRUE(waitForPixel(350, 350, chrome)) << "the green page was hidden";
}

TEST_F(ProgramTest, DeletingTheLastWebViewEndsTheProgramWithStatusZero) {
  Program program(environment(R"(platform.html?calls=[{"call":["webview.delete",1]}])"));
  EXPECT_EQ(program.status(), 0);
  EXPECT_NE(program.errors().find("Exit pagehost: 0"), std::string::npos) << program.errors();
}

TEST_F(ProgramTest, TheBundledChromesKeysWorkWhileAPageHasTheKeyboard) {
  using test_support::giveKeyboardTo;
  using test_support::perform;
  using test_support::topLevelWindow;
  constexpr Pixel red{200, 0, 0};
  constexpr Pixel green{0, 200, 0};
  constexpr Pixel blue{0, 0, 200};
  const auto shows = [](const Pixel& color) { return waitForPixel(400, 400, color); };
  const auto press = [](const char* held, const char* key) {
    perform(std::string("press ") + held);
    perform(std::string("key ") + key);
    perform(std::string("release ") + held);
  };
  const auto page = [&](const char* name, const char* color) {
    const std::string path = (folder_ / name).string();
    // Yellow at the left while it has the keyboard.
    std::ofstream(path)
        << "<title>page</title><script>const style = document.documentElement.style;"
        << "const paint = () => { style.background = `linear-gradient(to right, "
        << "${document.hasFocus() ? 'rgb(200, 200, 0)' : 'rgb(0, 0, 0)'} 25%, "
        << "${location.search ? 'rgb(0, 0, 200)' : '" << color << "'} 25%)`; };"
        << "style.height = '100%'; paint(); setInterval(paint, 20);"
        << "onkeydown = event => { if (event.key === 'n') location.search = '?2'; }</script>";
    return path;
  };
  Program program(environment(""),
                  {page("red.html", "rgb(200,0,0)"), page("green.html", "rgb(0,200,0)")});
  ASSERT_TRUE(shows(red)) << program.errors();
  giveKeyboardTo(topLevelWindow("pagehost"));
  const auto isFocused = [] { return waitForPixel(100, 400, {200, 200, 0}); };
  ASSERT_TRUE(isFocused()) << "the page has the keyboard without a click\n" << program.errors();
  perform("key n");
  ASSERT_TRUE(shows(blue)) << "the page has its keys\n" << program.errors();
  press("Alt_L", "Left");
  ASSERT_TRUE(shows(red)) << "back\n" << program.errors();
  press("Control_L", "Tab");
  ASSERT_TRUE(shows(green)) << "the next tab\n" << program.errors();
  press("Control_L", "Tab");
  ASSERT_TRUE(shows(red)) << "the tab that was gone to has the keyboard\n" << program.errors();
  press("Control_L", "w");
  ASSERT_TRUE(shows(green)) << "the tab is closed\n" << program.errors();
  ASSERT_TRUE(isFocused()) << "the page behind it has the keyboard\n" << program.errors();
  perform("key n");
  if (!waitForPixel(400, 400, blue, std::chrono::seconds(2))) {
    // The engine was seen to lose the press of a key, not its release, within milliseconds of the
    // page's own focus event.
    std::cerr << "The first key after the focus was lost and is pressed again.\n";
    perform("key n");
  }
  ASSERT_TRUE(shows(blue)) << "the page has its keys\n" << program.errors();
  press("Alt_L", "Left");
  ASSERT_TRUE(shows(green)) << "back\n" << program.errors();
}

TEST_F(ProgramTest, AStartThatCannotBeSaysWhatToDo) {
  const std::pair<Environment, std::string> starts[] = {
      {{{"DISPLAY", ""}}, "Set DISPLAY"},
      {{{"DISPLAY", ":4711"}}, "Set DISPLAY"},
      {{{"PAGEHOST_MODULE_PATH", folder_.string()}}, "PAGEHOST_MODULE_PATH"},
      {{{"XDG_RUNTIME_DIR", (folder_ / "outside.txt").string()}}, "set XDG_RUNTIME_DIR"}};
  for (const auto& [changes, advice] : starts) {
    Program program(environment("idle.html", changes));
    EXPECT_EQ(program.status(), 1);
    EXPECT_NE(program.errors().find(advice), std::string::npos) << program.errors();
  }
}

TEST_F(ProgramTest, UnderAnotherNameItStartsApplicationsOfOtherUsersAsItIsAskedTo) {
  if (::geteuid() != 0) GTEST_SKIP() << "the server starts as root";
  const Environment resources{{"TESSEL_RESMGR_ROOT", folder_.string()}};
  const auto ask = [&](const std::vector<std::string>& options) {
    return std::make_unique<Program>(resources, options, "pagehost-launch", PAGEHOST_TEST_LAUNCHER);
  };
  const auto nobody = ask({"--uid", "1234", "--gid", "1234", "--", "app"});
  EXPECT_EQ(nobody->status(), 1);
  EXPECT_NE(nobody->errors().find("No launcher server is at"), std::string::npos);
  EXPECT_EQ(ask({"--", "app"})->status(), 2) << "root's application was asked for";

  Program server(resources, {}, "pagehost-server");
  ASSERT_TRUE(server.waitForError("Waiting for launch requests")) << server.errors();
  // Files accessible to the user.
  std::filesystem::permissions(folder_, std::filesystem::perms(0755));
  const std::filesystem::path home = folder_ / "home";
  std::filesystem::create_directory(home);
  ASSERT_EQ(::chown(home.c_str(), 1234, 1234), 0);
  // The tree may be in root's home, which other users cannot read.
  const std::filesystem::path modules = folder_ / "modules";
  std::filesystem::copy(std::filesystem::path(PAGEHOST_TEST_PROGRAM).parent_path() / "modules",
                        modules);
  std::vector<std::string> options{"--uid",     "1234",    "--gid", "1234",
                                   "--console", "console", "--wait"};
  for (const auto& [name, value] : environment("idle.html")) {
    options.insert(options.end(), {"--env", name + "=" + value});
  }
  for (const char* name : {"XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR", "HOME"}) {
    options.insert(options.end(), {"--env", std::string(name) + "=" + home.string()});
  }
  options.insert(options.end(),
                 {"--env", "PAGEHOST_MODULE_PATH=" + modules.string(), "--", "an-app"});
  const auto client = ask(options);
  const auto pid = client->nextLine();
  ASSERT_TRUE(pid) << client->errors();
  EXPECT_TRUE(server.waitForLine("idle")) << server.errors();
  const pid_t application = std::atoi(pid->c_str());
  struct stat process {};
  ASSERT_EQ(::stat(("/proc/" + *pid).c_str(), &process), 0);
  EXPECT_EQ(process.st_uid, 1234u);
  EXPECT_EQ(nameOf(application), "an-app");
  // Root controls the programs of every user, wherever their run-time folders are.
  Program list({}, {"list"}, "pagehost-ctl", PAGEHOST_TEST_CONTROL);
  EXPECT_TRUE(list.waitForLine(*pid + "\t1234\t-\tlocal:///idle.html")) << list.errors();
  ASSERT_EQ(::kill(application, SIGTERM), 0);
  EXPECT_EQ(client->status(), 0) << client->errors();
  EXPECT_NE(client->errors().find("process " + *pid + " has ended"), std::string::npos);
}

TEST_F(ProgramTest, TheFirstSignalEndsItAlsoWhileADialogWaitsForItsUser) {
  temporary_.write("root/modal.html",
                   "<script>orv.callNative('webview.printToStdout', 1, 'asking\\n');"
                   "for (;;) alert('Who is there?')</script>");
  Program program(environment("modal.html"));
  ASSERT_TRUE(program.waitForLine("asking")) << program.errors();
  // Whether or not the dialog is open already: the page opens the next one.
  ASSERT_EQ(::kill(program.pid(), SIGTERM), 0);
  EXPECT_EQ(program.status(), 0) << program.errors();
}

TEST_F(ProgramTest, AChromeThatCannotBeLoadedIsExplainedOnTheScreenAndInTheLog) {
  // The listener is closed.
  const std::string refused = EchoServer().address();
  for (const std::string& url :
       {std::string("local:///nowhere.html"), refused, std::string("no address")}) {
    Program program(environment("", {{"CHROME_URL", url}}));
    EXPECT_TRUE(program.waitForError("CHROME_URL: correct it")) << program.errors();
  }
}

TEST_F(ProgramTest, AChromeWhoseProcessDiesIsStartedAgain) {
  Program program(environment("idle.html"));
  ASSERT_TRUE(program.waitForLine("idle")) << program.errors();
  // In the sandbox the web processes are not the program's children.
  const auto web = descendantsNamed(program.pid(), "WebKitWebPro");
  ASSERT_EQ(web.size(), 2u);
  for (const pid_t process : web) ASSERT_EQ(::kill(process, SIGKILL), 0);
  EXPECT_TRUE(program.waitForError("The web process of local:///idle.html crashed"))
      << program.errors();
  EXPECT_TRUE(program.waitForLine("idle")) << "native functions included: " << program.errors();
  EXPECT_TRUE(program.waitForError("of the former one that are deleted: 1")) << program.errors();
  ASSERT_TRUE(requestClose("pagehost"));
  EXPECT_EQ(program.status(), 0);
}

TEST_F(ProgramTest, AChromeWhoseServerComesLateIsWaitedFor) {
  using std::chrono::steady_clock;
  test_support::FileServer server;
  server.addAnswer("late",
                   "HTTP/1.1 503 Not yet\r\nConnection: close\r\nContent-Length: 0\r\n\r\n");
  Environment all = environment("idle.html");
  all["CHROME_URL"] = server.address() + "page/late";
  Program program(all, {"--kiosk"});
  steady_clock::time_point asked[4];
  const auto isAsked = [&](int times) {
    const bool good = iterateUntil([&] { return server.requestsFor("late") >= times; });
    asked[times] = steady_clock::now();
    return good;
  };
  ASSERT_TRUE(isAsked(1)) << program.errors();
  ASSERT_TRUE(isAsked(2)) << program.errors();
  server.addAnswer("away",
                   "HTTP/1.1 302 Found\r\nLocation: http://localhost:9/\r\nConnection: close\r\n"
                   "Content-Length: 0\r\n\r\n");
  server.add("late", "text/html",
             "<body style='margin:0;background:#0000ff'><script>orv.callNative("
             "'webview.printToStdout', 1, 'came\\n');"
             "onclick = () => location = '/page/away'</script>");
  // After one second, then two; a failure that counts twice, after two, then eight.
  ASSERT_TRUE(isAsked(3)) << program.errors();
  using std::chrono::milliseconds;
  EXPECT_GE(asked[2] - asked[1], milliseconds(900));
  EXPECT_GE(asked[3] - asked[2], milliseconds(1900));
  EXPECT_LT(asked[3] - asked[2], milliseconds(6000));
  EXPECT_TRUE(program.waitForLine("came")) << program.errors();
  EXPECT_TRUE(waitForPixel(0, 0, {0, 0, 255})) << "the window begins at the screen's corner";
  // Where its page went is not what the program loads: that would have native functions.
  clickAt(100, 100);
  EXPECT_TRUE(program.waitForError("localhost:9/ could not be loaded")) << program.errors();
  EXPECT_TRUE(program.waitForLine("came")) << program.errors();
  EXPECT_EQ(program.errors().find("localhost:9/ is tried"), std::string::npos);
}

}  // namespace
