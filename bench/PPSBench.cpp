// The time from the write of a shared object to the chrome's event, measured alternately with its
// floor in the same run: a file replaced in the same way, a process that is woken by inotify, reads
// the file, and sends one byte back.
//
// The files are in memory. The pause between rounds is longer than the minimum interval between two
// reads of a file. Needs a display.
#include "bench/PingPong.h"
#include "bindings/PPSBinding.h"
#include "platform/base/UniqueFd.h"
#include "platform/loop/MessageClient.h"
#include "platform/pps/PPSObject.h"
#include "registry/BindingManager.h"
#include "tests/support/RealEngine.h"
#include "webview/WebView.h"
#include "webview/WebViewManager.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/inotify.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace {

using Tessel::Platform::concat;
using Tessel::Platform::PPSEvent;
using Tessel::Platform::PPSObject;
using Tessel::Platform::String;
using Tessel::Platform::UniqueFd;
using test_support::RealEngine;
using Clock = std::chrono::steady_clock;

constexpr int turns = 300;
constexpr int warmUps = 20;
constexpr unsigned int pauseMicroseconds = 6000;

constexpr const char* page = R"(<!doctype html><title>bench</title><script>
  window.chrome = {internal: {
    pps: {onEvent: (id, name) => name === 'NewData' && orv.callNative('bench.seen')},
    webEvent: () => '',
  }, native: {error: () => {}}};
  window.pong = () => orv.callNative('bench.seen');
  orv.callNative('pps.open', 1, 'page', 0, 64, 0);
  orv.callNative('bench.seen');
</script>)";

[[noreturn]] void giveUp(const char* why) {
  std::fprintf(stderr, "pps_bench: %s\n", why);
  std::exit(1);
}

int seen = 0;

// One round trip without any of our code.
class Floor {
 public:
  explicit Floor(const std::filesystem::path& folder) {
    std::filesystem::create_directory(folder);
    folder_.reset(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) giveUp("no socket");
    back_.reset(ends[0]);
    const UniqueFd theirs(ends[1]);
    const pid_t child = ::fork();
    if (child == 0) answer(folder, theirs.get());
    char ready = 0;
    if (child < 0 || ::read(back_.get(), &ready, 1) != 1) giveUp("no process for the floor");
    bench::pin(child, 1);
  }

  void turn(const std::string& text) const {
    {
      const UniqueFd file(
          ::openat(folder_.get(), "new", O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
      if (::write(file.get(), text.data(), text.size()) != ssize_t(text.size())) giveUp("no file");
    }
    char byte = 0;
    if (::renameat(folder_.get(), "new", folder_.get(), "object") != 0 ||
        ::read(back_.get(), &byte, 1) != 1) {
      giveUp("the floor gave way");
    }
  }

 private:
  [[noreturn]] void answer(const std::filesystem::path& folder, int back) const {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const UniqueFd inotify(::inotify_init1(IN_CLOEXEC));
    ::inotify_add_watch(inotify.get(), folder.c_str(), IN_MOVED_TO);
    std::vector<char> buffer(64 * 1024);
    char byte = 0;
    while (::write(back, &byte, 1) == 1 &&
           ::read(inotify.get(), buffer.data(), buffer.size()) > 0) {
      const UniqueFd file(::openat(folder_.get(), "object", O_RDONLY | O_CLOEXEC));
      if (::read(file.get(), buffer.data(), buffer.size()) <= 0) break;
      byte = buffer[0];
    }
    ::_exit(0);
  }

  UniqueFd folder_;
  UniqueFd back_;
};

double timed(const std::function<void()>& body) {
  ::usleep(pauseMicroseconds);
  const auto begin = Clock::now();
  body();
  return std::chrono::duration<double, std::micro>(Clock::now() - begin).count();
}

double part(std::vector<double> values, double portion) {
  const auto at = values.begin() + std::ptrdiff_t(portion * double(values.size() - 1));
  std::nth_element(values.begin(), at, values.end());
  return *at;
}

void compare(const char* what, std::size_t size, const std::function<void()>& figure,
             const std::function<void()>& floor) {
  std::vector<double> figures;
  std::vector<double> floors;
  std::vector<double> ratios;
  for (int i = -warmUps; i < turns; ++i) {
    const double one = timed(figure);
    const double two = timed(floor);
    if (i < 0) continue;
    figures.push_back(one);
    floors.push_back(two);
    ratios.push_back(one / two);
  }
  std::printf(
      "%-36s %6zu B %8.1f us (p90 %8.1f)   inotify and read %7.1f us (p90 %7.1f)   ratio %.2f\n",
      what, size, part(figures, 0.5), part(figures, 0.9), part(floors, 0.5), part(floors, 0.9),
      part(ratios, 0.5));
  std::fflush(stdout);
}

void untilSeen(int expected) {
  const auto end = Clock::now() + std::chrono::seconds(10);
  while (seen < expected) {
    if (Clock::now() > end) giveUp("the chrome was not told");
    g_main_context_iteration(nullptr, TRUE);
  }
}

// An object that this process both writes and watches, without a chrome.
class Listener {
 public:
  Listener() : object_("alone", PPSObject::Full, Tessel::Platform::webKitThreadMessageClient()) {
    if (::pipe2(ends_.data(), O_CLOEXEC) != 0) giveUp("no pipe");
    object_.setEventFunc(
        [](void* context, const PPSEvent& event) {
          if (event.type != PPSEvent::NewData) return;
          const int end = static_cast<Listener*>(context)->ends_[1];
          if (::write(end, "x", 1) != 1) giveUp("no pipe");
        },
        this);
    if (!object_.open(O_RDWR | O_CREAT, 0, nullptr, true)) giveUp("no object");
  }

  void turn(const String& lines) {
    char byte = 0;
    if (!object_.write(lines) || ::read(ends_[0], &byte, 1) != 1) giveUp("no event");
  }

 private:
  std::array<int, 2> ends_{};
  PPSObject object_;
};

void measure(const Floor& floor) {
  std::string problem;
  if (!RealEngine::instance(problem)) giveUp(problem.c_str());
  BindingManager::instance().registerBinding("bench.seen",
                                             [](OrvWebJavaScriptCallbackEvent*) { ++seen; });
  WebViewManager& manager = WebViewManager::instance();
  WebView* const chrome =
      manager.webViewForHandle(manager.createWebView("tests", WebViewManager::inThisProcess));
  if (!chrome) giveUp("no web view");
  chrome->setDrivesApplication("");
  chrome->enableNativeBindings(true);
  PPSBinding::instance();
  chrome->loadString(page, "text/html");
  untilSeen(1);

  PPSObject writer("page", PPSObject::Full, Tessel::Platform::webKitThreadMessageClient());
  if (!writer.open(O_WRONLY, 0, nullptr, true)) giveUp("no object");
  Listener alone;
  unsigned int number = 0;
  for (const std::size_t size : {std::size_t(100), std::size_t(10'000)}) {
    const std::string text(size, 'x');
    const auto lines = [&] {
      return concat("n:n:", String::fromUnsignedInteger(++number % 100'000), "\nt::", text, "\n");
    };
    const auto bare = [&] { floor.turn(text); };
    compare(
        "write -> event in this process", size, [&] { alone.turn(lines()); }, bare);
    compare(
        "write -> event in the chrome -> back", size,
        [&] {
          const int expected = seen + 1;
          if (!writer.write(lines())) giveUp("no write");
          untilSeen(expected);
        },
        bare);
    compare(
        "of that: chrome and back", size,
        [&] {
          const int expected = seen + 1;
          chrome->executeJavaScriptFunction({"pong"}, {String(text)});
          untilSeen(expected);
        },
        bare);
  }
}

}  // namespace

int main() {
  // In memory if possible, so that the cost of renames on a disk is not measured.
  std::error_code none;
  const auto place = std::filesystem::is_directory("/dev/shm", none)
                         ? std::filesystem::path("/dev/shm")
                         : std::filesystem::temp_directory_path();
  std::string folder = (place / "pps-bench-XXXXXX").string();
  if (!::mkdtemp(folder.data())) giveUp("no folder");
  ::setenv("TESSEL_PPS_ROOT", folder.c_str(), 1);
  const Floor floor(folder + "/floor");
  measure(floor);
  std::filesystem::remove_all(folder);
  return 0;
}
