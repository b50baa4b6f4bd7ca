// The page link with the real engine at its other end: calls in both directions, nested, from two
// threads, to pages that hang, misbehave or die.
#include "tests/support/FileContent.h"
#include "tests/support/Processes.h"
#include "tests/support/RealEngine.h"
#include "tests/support/Waiting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

namespace {

using test_support::RealEngine;
using test_support::ScriptedView;
using namespace std::chrono_literals;

using String = Tessel::Platform::String;
using Arguments = std::vector<std::string>;

constexpr const char* page = R"(<!doctype html><title>link</title><script>
  window.add = (a, b) => a + b;
  window.echo = value => value;
  window.nest = depth => depth > 0 ? orv.callNative('nest', depth - 1) : 'ground';
  window.pingpong = count => {
    let right = 0;
    for (let i = 0; i < count; ++i) if (orv.callNative('add', i, 1) === String(i + 1)) ++right;
    return right;
  };
  window.hang = () => { for (;;); };
  window.throws = () => { throw new Error('on purpose'); };
  window.holder = { name: 'holder', who() { return this.name; } };
</script>)";

std::vector<pid_t> webProcesses() {
  return test_support::descendantsNamed(::getpid(), "WebKitWebPro");
}

// Threads of the engine's connections, with an eventfd each. It keeps those of some deleted web
// views: of few on an idle machine, of one in four on a busy one.
std::size_t engineThreads() {
  const auto threads = std::filesystem::directory_iterator("/proc/self/task");
  return static_cast<std::size_t>(
      std::count_if(begin(threads), end(threads), [](const auto& entry) {
        return test_support::contentOf(entry.path() / "comm") == "ReceiveQueue\n";
      }));
}

// Counts sockets, pipes, eventfds and the like, which web views and their links use, without those
// of the engine's threads. Other files are not counted, since the engine opens some over time.
std::size_t openDescriptors() {
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code closed;
    const std::string what = std::filesystem::read_symlink(entry.path(), closed).string();
    if (what.find(":[") != std::string::npos) ++count;
  }
  return count - engineThreads();
}

class PageLinkTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string problem;
    engine_ = RealEngine::instance(problem);
    ASSERT_TRUE(engine_) << problem;
  }

  std::unique_ptr<ScriptedView> open(ScriptedView::Native native = {}) {
    auto view = engine_->openPage(page, std::move(native));
    EXPECT_TRUE(view);
    return view;
  }

  RealEngine* engine_ = nullptr;
};

TEST_F(PageLinkTest, ValuesCrossInBothDirectionsAsTheyAre) {
  const auto view = open();
  const String awkward(std::string_view("a\0b \"\\\x01 \xc3\xbc \xf0\x9f\x8c\x8d", 15));
  for (const JavaScriptVariant& value :
       {JavaScriptVariant(), JavaScriptVariant::null(), JavaScriptVariant(true),
        JavaScriptVariant(-0.5), JavaScriptVariant(1e300), JavaScriptVariant(awkward),
        JavaScriptVariant(String(std::string(1 << 20, 'x'))), JavaScriptVariant("")}) {
    EXPECT_TRUE(view->call("echo", {value}) == value) << value.type();
  }
  EXPECT_EQ(view->executeJavaScriptFunctionSync({"holder", "who"}, {}).stringValue(),
            String("holder"));
  using Path = std::vector<String>;
  for (const Path& none : {Path{"nosuch"}, Path{"throws"}, Path{"no", "such", "path"}, Path{}}) {
    EXPECT_EQ(view->executeJavaScriptFunctionSync(none, {}).type(), JavaScriptVariant::Undefined);
  }
  EXPECT_EQ(view->call("add", {20, 22}).numberValue(), 42) << "the page goes on";
}

TEST_F(PageLinkTest, CallsNestAHundredDeepAndEndlessNestingIsRefused) {
  std::unique_ptr<ScriptedView> view;
  int deepest = 0;
  int depth = 0;
  view = open([&](const Arguments& arguments) {
    deepest = std::max(deepest, ++depth);
    const String result = view->call("nest", {std::stod(arguments.at(1))}).stringValue();
    --depth;
    return result;
  });
  EXPECT_EQ(view->call("nest", {100}).stringValue(), String("ground"));
  EXPECT_EQ(deepest, 100);
  view->call("nest", {100000});
  EXPECT_LT(deepest, 1000);
  EXPECT_EQ(view->call("add", {1, 2}).numberValue(), 3);
}

TEST_F(PageLinkTest, ASecondThreadCallsThePageWhileTheMainThreadIsBusyWithIt) {
  std::unique_ptr<ScriptedView> view;
  view = open([&](const Arguments& arguments) {
    return String::fromNumber(
        view->call("add", {std::stod(arguments.at(1)), std::stod(arguments.at(2))}).numberValue());
  });
  std::atomic<int> wrong = 0;
  std::atomic<int> done = 0;
  std::thread second([&] {
    for (int i = 0; i < 5000; ++i) {
      // Some of them with page code that calls back natively.
      const bool nested = i % 10 == 0;
      const double value = nested ? view->call("pingpong", {1}).numberValue()
                                  : view->call("add", {i, 1}).numberValue();
      if (value != (nested ? 1 : i + 1)) ++wrong;
      ++done;
    }
  });
  int right = 0;
  for (int i = 0; i < 10; ++i)
    right += static_cast<int>(view->call("pingpong", {1000}).numberValue());
  EXPECT_TRUE(RealEngine::runUntil([&] { return done == 5000; }, 60s));
  second.join();
  EXPECT_EQ(right, 10000);
  EXPECT_EQ(wrong, 0);
}

TEST_F(PageLinkTest, AWebProcessThatDiesEndsEveryWaitAtOnceAndLoadsAgain) {
  // A process that hung in an earlier test may take a while to end.
  const auto earlier = webProcesses();
  const auto view = open();
  auto processes = webProcesses();
  std::erase_if(processes, [&](pid_t pid) { return std::ranges::count(earlier, pid) != 0; });
  ASSERT_EQ(processes.size(), 1u);
  std::atomic<bool> ended = false;
  std::thread second([&] {
    view->call("hang");
    ended = true;
  });
  std::this_thread::yield();
  const auto begin = std::chrono::steady_clock::now();
  ASSERT_EQ(::kill(processes[0], SIGKILL), 0);
  EXPECT_TRUE(RealEngine::runUntil([&] { return ended.load(); }, 10s));
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 4s);
  second.join();
  view->events.clear();
  view->loadString(page, "text/html");
  EXPECT_TRUE(RealEngine::runUntil([&] { return view->call("add", {1, 1}).numberValue() == 2; }));
}

TEST_F(PageLinkTest, ThePageMayDeleteItsOwnWebViewOrAnotherInsideACall) {
  std::unique_ptr<ScriptedView> other = open();
  std::unique_ptr<ScriptedView> view;
  view = open([&](const Arguments& arguments) {
    if (arguments.at(0) == "other") other.reset();
    if (arguments.at(0) == "self") view->destroy();
    return String("done");
  });
  EXPECT_EQ(view->call("eval", {"orv.callNative('other')"}).stringValue(), String("done"));
  EXPECT_FALSE(other);
  view->call("eval", {"orv.callNative('self')"});
  EXPECT_EQ(view->call("add", {1, 1}).type(), JavaScriptVariant::Undefined);
  EXPECT_TRUE(RealEngine::runUntil([&] {
    return std::count(view->events.begin(), view->events.end(), OrvWebEvent::Destroyed) == 1;
  }));
  EXPECT_TRUE(RealEngine::runUntil([&] { return webProcesses().empty(); }));
}

TEST_F(PageLinkTest, EngineSynchronousOperationsInACalledFunctionDoNotDeadlock) {
  const auto view = open();
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(
      view->call("eval", {"history.pushState({}, '', '#there'); location.hash"}).stringValue(),
      String("#there"));
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 3s);
}

TEST_F(PageLinkTest, AHostilePageGetsExceptionsAndTheProgramGoesOn) {
  std::vector<std::string> got;
  std::unique_ptr<ScriptedView> view = open([&](const Arguments& arguments) {
    got = arguments;
    return String::fromUnsignedInteger(arguments.size());
  });
  const auto run = [&](const std::string& script) {
    return view->call("eval", {String(script)}).stringValue();
  };
  const std::string half = "\xef\xbf\xbd";  // of a surrogate pair: it is replaced, the rest stays
  const std::pair<std::string, Arguments> calls[] = {
      {"'x'.repeat(1 << 20), 'y'", {std::string(1 << 20, 'x'), "y"}},
      {"...Array(60000).fill('a')", Arguments(60000, "a")},
      {"'n', null, undefined, ''", {"n", "(null)", "(null)", ""}},
      {"'t', 1.5, true, {}, [1,2]", {"t", "1.5", "true", "[object Object]", "1,2"}},
      {"'s', 'a\\ud800b', '\\udc00'", {"s", "a" + half + "b", half}},
      {"Symbol('s')", {"Symbol(s)"}},
      {"", {}}};
  for (const auto& [arguments, expected] : calls) {
    EXPECT_EQ(run("orv.callNative(" + arguments + ")"), std::to_string(expected.size()));
    EXPECT_TRUE(got == expected) << arguments;
  }
  const std::pair<std::string, std::string> refused[] = {
      {"...Array(65537).fill('a')", "RangeError"},
      {"'x'.repeat(1 << 26)", "RangeError"},
      {"{toString() { throw {name: 'its own'} }}", "its own"}};
  for (const auto& [arguments, error] : refused) {
    EXPECT_EQ(run("try { orv.callNative(" + arguments + ") } catch (e) { e.name }"), error);
  }
  EXPECT_EQ(run("'c\\udc00d'"), String("c" + half + "d"));

  got.clear();
  run("addEventListener('pagehide', () => orv.callNative('leaving')); location.reload()");
  EXPECT_TRUE(RealEngine::runUntil([&] { return !got.empty(); }));
  EXPECT_EQ(got, Arguments{"leaving"});
  view->loadString(page, "text/html");
  EXPECT_TRUE(RealEngine::runUntil([&] { return view->call("add", {1, 1}).numberValue() == 2; }));
}

TEST_F(PageLinkTest, OnlyThePageItselfReachesNativeFunctions) {
  const auto view = open([](const Arguments&) { return String("yes"); });
  EXPECT_EQ(view->call("eval", {"const f = document.createElement('iframe');"
                                "f.srcdoc = '<script>parent.inner = typeof orv<\\/script>';"
                                "document.body.append(f); ''"})
                .stringValue(),
            String(""));
  EXPECT_TRUE(RealEngine::runUntil([&] {
    return view->call("eval", {"window.inner || ''"}).stringValue() == String("undefined");
  }));
  view->enableOrvJavaScriptObject(false);
  EXPECT_EQ(view->call("eval", {"orv.callNative('x')"}).stringValue(), String(""))
      << "a permission that is taken back counts at once";
}

// For this process or another one.
long residentKilobytes(const std::string& process = "self") {
  std::ifstream status("/proc/" + process + "/statm");
  long total = 0;
  long resident = 0;
  status >> total >> resident;
  return resident * (::sysconf(_SC_PAGESIZE) / 1024);
}

// Objects that the program keeps in a document must not keep the document alive.
TEST_F(PageLinkTest, DocumentsThatWereLeftAreFreed) {
  constexpr int documents = 40;
  constexpr long each = 8192;  // kilobytes
  const std::string heavy = "<title>x</title><script>large = new Uint8Array(" +
                            std::to_string(each * 1024) +
                            ").fill(1); addEventListener('scroll', () => large)</script>";
  for (const bool drives : {false, true}) {
    ASSERT_TRUE(RealEngine::runUntil([] { return webProcesses().empty(); }));
    const auto view = engine_->openPage(heavy, {}, drives);
    ASSERT_TRUE(view);
    ASSERT_EQ(webProcesses().size(), 1u);
    const std::string process = std::to_string(webProcesses().front());
    const long before = residentKilobytes(process);
    const auto load = [&](const std::string& html) {
      view->events.clear();
      view->loadString(html, "text/html");
      return RealEngine::runUntil([&] {
        return std::count(view->events.begin(), view->events.end(),
                          OrvWebEvent::DocumentLoadFinished) > 0;
      });
    };
    for (int i = 0; i < documents; ++i) ASSERT_TRUE(load(heavy));
    // The engine collects garbage at its own time, but some time after leaving a document.
    long more = documents * each;
    for (int i = 0; i < 300 && more > documents * each / 4; ++i) {
      ASSERT_TRUE(load("<title>x</title>"));
      std::this_thread::sleep_for(20ms);
      more = residentKilobytes(process) - before;
    }
    EXPECT_LT(more, documents * each / 4) << drives;
  }
}

TEST_F(PageLinkTest, TwoHundredWebViewsLeaveNothingBehind) {
  const auto cycle = [&](int count) {
    for (int i = 0; i < count; ++i) {
      auto view = open();
      ASSERT_TRUE(view);
      ASSERT_EQ(view->call("add", {i, 1}).numberValue(), i + 1);
      view.reset();
    }
    ASSERT_TRUE(RealEngine::runUntil([&] { return webProcesses().empty(); }));
    test_support::turnLoop();
  };
  // The first ones warm up caches of the toolkit and the engine.
  cycle(20);
  const std::size_t descriptors = openDescriptors();
  const std::size_t threads = engineThreads();
  const long memory = residentKilobytes();
  cycle(200);
  // One for every tenth web view would be a leak.
  EXPECT_LT(openDescriptors(), descriptors + 20);
  EXPECT_LT(engineThreads(), threads + 100);
  EXPECT_LT(residentKilobytes() - memory, 16 * 1024);
}

}  // namespace
