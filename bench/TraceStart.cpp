// Where the time of a start goes: a cold start, an application from the launcher server, and web
// views in the program, in a new child process and in a running one. Reads the program's own trace
// and watches the screen for the first painted frame. Needs a display; the launch needs root.
//
// trace_start [ROUNDS] prints a table of medians. Main thread.
#include "tests/support/Program.h"
#include "tests/support/Screen.h"

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <vector>

using test_support::Pixel;
using test_support::Program;
using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

namespace {

constexpr int defaultRounds = 5;
constexpr auto longestStart = 30s;
constexpr const char* user = "1234";
constexpr std::string_view request = "web view requested";

// In the middle of the web views of trace.html; what lies there besides is white or black.
constexpr int watchedX = 200;
constexpr int watchedY = 200;
const Pixel chromeColor{0xcc, 0, 0};

struct Scenario {
  const char* name;
  Pixel color;
};
const Scenario coldStart{"cold start", chromeColor};
const Scenario launched{"launched application", chromeColor};
const std::vector<Scenario> views{{"web view in the program", {0, 0xcc, 0}},
                                  {"web view in a new child process", {0, 0, 0xcc}},
                                  {"web view in a running child process", {0xcc, 0xcc, 0}}};

// Steps in milliseconds since the start was requested.
using Steps = std::map<std::string, double>;

// The log's clock.
double now() {
  return std::chrono::duration<double>(Clock::now().time_since_epoch()).count();
}

// Thrown, so that programs are ended and the folder is removed on the way out.
[[noreturn]] void fail(const std::string& problem, const std::string& log) {
  throw std::runtime_error(problem + "\n" + log);
}

// Removed with all that is in it.
class ScratchFolder {
 public:
  ScratchFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "trace-start-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) fail("no folder", pattern);
    path_ = pattern;
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

struct Mark {
  double seconds;
  std::string step;
};

// From lines "[trace] PROCESS PID SECONDS Start: STEP"; PROCESS may contain spaces.
std::vector<Mark> marksOf(const std::string& log) {
  constexpr std::string_view level = "[trace] ";
  constexpr std::string_view word = " Start: ";
  std::vector<Mark> marks;
  std::size_t end = 0;
  for (std::size_t begin = 0; begin < log.size(); begin = end + 1) {
    end = std::min(log.find('\n', begin), log.size());
    const std::string_view line(log.data() + begin, end - begin);
    const auto at = line.find(word);
    if (!line.starts_with(level) || at == std::string_view::npos) continue;
    const auto space = line.rfind(' ', at - 1);
    double seconds = 0;
    std::from_chars(line.data() + space + 1, line.data() + at, seconds);
    marks.push_back({seconds, std::string(line.substr(at + word.size()))});
  }
  return marks;
}

// Watches the screen until it shows the colour; the time at which it did.
double waitForPaint(const Pixel& color, Program& program) {
  const auto end = Clock::now() + longestStart;
  while (test_support::pixelAt(watchedX, watchedY) != color) {
    if (Clock::now() > end) fail("nothing is painted", program.errors());
    // Empties the pipes, so that the program never waits for their reader.
    program.errors();
    // The display does not report what other clients draw.
    std::this_thread::sleep_for(1ms);
  }
  return now();
}

// The first of each kind between two times.
Steps stepsOf(const std::vector<Mark>& marks, double begin, double painted) {
  Steps steps{{"painted", (painted - begin) * 1000}};
  for (const Mark& mark : marks) {
    if (mark.seconds < begin || mark.seconds > painted || mark.step == request) continue;
    steps.emplace(mark.step, (mark.seconds - begin) * 1000);
  }
  return steps;
}

class Table {
 public:
  void add(const char* scenario, const Steps& steps) {
    for (const auto& [step, time] : steps) times_[scenario][step].push_back(time);
  }
  void print(const char* scenario) {
    const auto found = times_.find(scenario);
    if (found == times_.end()) return;
    std::vector<std::pair<double, std::string>> rows;
    for (auto& [step, times] : found->second) {
      const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
      std::nth_element(times.begin(), middle, times.end());
      rows.emplace_back(*middle, step);
    }
    std::sort(rows.begin(), rows.end());
    std::printf("\n%-44s %8s %8s\n", scenario, "at ms", "took ms");
    double before = 0;
    const double width = rows.back().first / 40;
    for (const auto& [time, step] : rows) {
      const auto indent = static_cast<int>(before / width);
      const auto length = std::max(static_cast<int>(time / width) - indent, 0);
      std::printf("  %-42s %8.1f %8.1f  %*s%s\n", step.c_str(), time, time - before, indent, "",
                  std::string(static_cast<std::size_t>(length), '#').c_str());
      before = time;
    }
  }

 private:
  std::map<std::string, std::map<std::string, std::vector<double>>> times_;
};

Program::Environment environmentFor(const char* page) {
  return {{"CHROME_URL", page},
          {"PAGEHOST_LOG_LEVEL", "trace"},
          {"TESSEL_LOCAL_ROOT", PAGEHOST_BENCH_PAGES}};
}

void traceColdStartAndViews(Table& table) {
  const double begin = now();
  Program program(environmentFor("local:///trace.html?views"));
  const double painted = waitForPaint(chromeColor, program);
  table.add(coldStart.name, stepsOf(marksOf(program.errors()), begin, painted));
  std::vector<double> paints;
  for (const Scenario& view : views) paints.push_back(waitForPaint(view.color, program));
  const std::vector<Mark> marks = marksOf(program.errors());
  // The first one is the chrome's own.
  std::vector<double> requests;
  for (const Mark& mark : marks) {
    if (mark.step == request) requests.push_back(mark.seconds);
  }
  if (requests.size() != views.size() + 1) fail("too many web views", program.errors());
  for (std::size_t i = 0; i < views.size(); ++i) {
    table.add(views[i].name, stepsOf(marks, requests[i + 1], paints[i]));
  }
}

void traceLaunch(Program& server, const std::filesystem::path& home, Table& table) {
  const double begin = now();
  std::vector<std::string> words{"--uid", user,        "--gid",   user,    "--groups",
                                 "",      "--console", "console", "--wait"};
  for (const char* name :
       {"HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR"}) {
    words.insert(words.end(), {"--env", std::string(name) + "=" + home.string()});
  }
  words.insert(words.end(), {"--", "launched"});
  Program launch({}, words, "pagehost-launch", PAGEHOST_LAUNCH);
  const double painted = waitForPaint(chromeColor, server);
  table.add(launched.name, stepsOf(marksOf(server.errors()), begin, painted));
  const auto pid = launch.nextLine();
  if (!pid) fail("no process was launched", launch.errors());
  ::kill(std::atoi(pid->c_str()), SIGTERM);
  launch.status();
}

void traceAll(int rounds) {
  const ScratchFolder scratch;
  const std::filesystem::path& folder = scratch.path();
  const bool isRoot = ::geteuid() == 0;
  ::setenv("TESSEL_RESMGR_ROOT", folder.c_str(), 1);
  Table table;
  // The first round fills caches.
  for (int round = 0; round <= rounds; ++round) {
    Table warmUp;
    traceColdStartAndViews(round == 0 ? warmUp : table);
  }
  if (isRoot) {
    const std::filesystem::path home = folder / "home";
    std::filesystem::create_directory(home);
    std::filesystem::permissions(folder, std::filesystem::perms(0755));
    if (::chown(home.c_str(), static_cast<uid_t>(std::atoi(user)),
                static_cast<gid_t>(std::atoi(user))) != 0) {
      fail("no folder for the user", "");
    }
    Program server(environmentFor("local:///trace.html"), {}, "pagehost-server");
    if (!server.waitForError("Waiting for launch requests")) fail("no server", server.errors());
    for (int round = 0; round <= rounds; ++round) {
      Table warmUp;
      traceLaunch(server, home, round == 0 ? warmUp : table);
    }
  }
  std::printf("medians of %d rounds; each step with the time since the one before\n", rounds);
  table.print(coldStart.name);
  table.print(launched.name);
  for (const Scenario& view : views) table.print(view.name);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    traceAll(argc > 1 ? std::atoi(argv[1]) : defaultRounds);
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "%s\n", problem.what());
    return EXIT_FAILURE;
  }
}
