// The gain by the launcher server: the time from the request to a loaded chrome, compared with a
// cold start of the same program and a small browser with the same engine; and the memory of ten
// applications. Needs root and a display.
#include "bench/Memory.h"
#include "platform/base/UniqueFd.h"
#include "platform/os/DeviceClient.h"
#include "src/LauncherRequest.h"
#include "tests/support/Program.h"
#include "tools/launch/LaunchOptions.h"

#include <fcntl.h>
#include <grp.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

using Clock = std::chrono::steady_clock;
using Tessel::Platform::UniqueFd;
using test_support::Program;

namespace {

constexpr int rounds = 12;
constexpr int together = 10;
constexpr uid_t user = 1234;

[[noreturn]] void fail(const std::string& problem) {
  std::fprintf(stderr, "%s\n", problem.c_str());
  std::exit(EXIT_FAILURE);
}

double milliseconds(Clock::duration time) {
  return std::chrono::duration<double, std::milli>(time).count();
}

double median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2),
                   values.end());
  return values[values.size() / 2];
}

// Serves one page, which reports that it is loaded by requesting another one.
class PageServer {
 public:
  PageServer() : listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    if (::bind(listener_.get(), any, size) != 0 || ::listen(listener_.get(), 64) != 0 ||
        ::getsockname(listener_.get(), any, &size) != 0) {
      fail("no loopback server");
    }
    url_ = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/";
  }
  const std::string& url() const { return url_; }

  // Serves until that many pages have reported that they are loaded.
  void waitForLoads(int count) {
    while (count > 0) {
      pollfd ready{listener_.get(), POLLIN, 0};
      if (::poll(&ready, 1, 60000) != 1) fail("a page is not loaded");
      const UniqueFd client(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
      const timeval limit{1, 0};
      ::setsockopt(client.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
      std::string request;
      std::array<char, 2048> chunk;
      while (request.find("\r\n\r\n") == std::string::npos) {
        const ssize_t read = ::read(client.get(), chunk.data(), chunk.size());
        if (read <= 0) break;
        request.append(chunk.data(), static_cast<std::size_t>(read));
      }
      const std::string body =
          "<!doctype html><h1>loaded?</h1><script>onload = () => fetch('/loaded')</script>";
      const std::string reply =
          "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nConnection: close\r\nContent-Length: " +
          std::to_string(body.size()) + "\r\n\r\n" + body;
      if (::write(client.get(), reply.data(), reply.size()) < 0) continue;
      if (request.starts_with("GET /loaded")) --count;
    }
  }

 private:
  UniqueFd listener_;
  std::string url_;
};

void end(pid_t pid) {
  const UniqueFd process(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
  ::kill(pid, SIGTERM);
  pollfd ended{process.get(), POLLIN, 0};
  if (process && ::poll(&ended, 1, 20000) != 1) ::kill(pid, SIGKILL);
}

// Something that can be started; the result is its process.
using Starter = std::function<pid_t()>;

// All of them as the same user, with folders of their own.
std::map<std::string, std::string> environmentIn(const std::filesystem::path& home,
                                                 const std::string& url) {
  std::filesystem::create_directory(home);
  if (::chown(home.c_str(), user, user) != 0) fail("no folder for the user");
  std::map<std::string, std::string> environment{{"CHROME_URL", url}, {"PAGEHOST_NEW", "1"}};
  for (const char* name :
       {"HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR"}) {
    environment[name] = home.string();
  }
  return environment;
}

pid_t startProgram(const std::vector<std::string>& words,
                   const std::map<std::string, std::string>& environment) {
  const pid_t pid = ::fork();
  if (pid != 0) return pid;
  if (::setgroups(0, nullptr) != 0 || ::setgid(user) != 0 || ::setuid(user) != 0) ::_exit(126);
  for (const auto& [name, value] : environment) ::setenv(name.c_str(), value.c_str(), 1);
  std::vector<char*> argv;
  for (const std::string& word : words) argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);
  const int nothing = ::open("/dev/null", O_WRONLY);
  ::dup2(nothing, STDOUT_FILENO);
  ::dup2(nothing, STDERR_FILENO);
  ::execvp(argv[0], argv.data());
  ::_exit(127);
}

class Launcher {
 public:
  explicit Launcher(const std::map<std::string, std::string>& environment) {
    LaunchOptions options;
    options.uid = user;
    options.gid = user;
    options.arguments = {"launched"};
    options.environment = environment;
    std::string problem;
    request_ = requestOf(options, problem);
    device_ = Tessel::Platform::openDevice(launcherPath, O_RDWR);
    if (!device_) fail("the launcher server cannot be opened");
  }
  pid_t start() const {
    std::int32_t pid = 0;
    const int error = Tessel::Platform::controlDevice(device_.get(), launchCommand, request_.data(),
                                                      request_.size(), &pid, sizeof pid);
    if (error != 0) fail("the launch was refused");
    return pid;
  }

 private:
  std::vector<char> request_;
  UniqueFd device_;
};

// A minimal server: each request is a fork, and the answer the process id.
class BareForker {
 public:
  BareForker() {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) fail("no sockets");
    socket_ = UniqueFd(ends[0]);
    server_ = ::fork();
    if (server_ != 0) {
      ::close(ends[1]);
      return;
    }
    ::close(ends[0]);
    std::signal(SIGCHLD, SIG_IGN);
    std::array<char, 4096> request;
    while (::read(ends[1], request.data(), request.size()) > 0) {
      const pid_t child = ::fork();
      if (child == 0) ::_exit(0);
      if (::write(ends[1], &child, sizeof child) < 0) break;
    }
    ::_exit(0);
  }
  ~BareForker() {
    socket_.reset();
    ::waitpid(server_, nullptr, 0);
  }
  void launch() const {
    std::array<char, 512> request{};
    pid_t child = 0;
    if (::write(socket_.get(), request.data(), request.size()) < 0 ||
        ::read(socket_.get(), &child, sizeof child) < 0) {
      fail("the bare server has ended");
    }
  }

 private:
  UniqueFd socket_;
  pid_t server_ = -1;
};

double loadTime(PageServer& pages, const Starter& start) {
  const auto begin = Clock::now();
  const pid_t pid = start();
  pages.waitForLoads(1);
  const double time = milliseconds(Clock::now() - begin);
  end(pid);
  ::waitpid(pid, nullptr, WNOHANG);
  return time;
}

struct Memory {
  double trees = 0;         // with the engine's processes
  double applications = 0;  // without
};

Memory memoryOfTen(PageServer& pages, const Starter& start) {
  std::vector<pid_t> pids;
  for (int i = 0; i < together; ++i) pids.push_back(start());
  pages.waitForLoads(together);
  bench::settle();
  Memory memory;
  std::vector<pid_t> all;
  for (const pid_t pid : pids) {
    const std::vector<pid_t> tree = bench::treeOf(pid);
    all.insert(all.end(), tree.begin(), tree.end());
  }
  memory.trees = bench::memoryOf(all);
  memory.applications = bench::memoryOf(pids);
  for (const pid_t pid : pids) {
    end(pid);
    ::waitpid(pid, nullptr, WNOHANG);
  }
  return memory;
}

void line(const char* what, double figure, const char* unit, double floor, const char* than) {
  std::printf("%-44s %10.2f %-3s %10.2f  %s\n", what, figure, unit, figure / floor, than);
}

}  // namespace

int main() {
  if (::geteuid() != 0) fail("The launcher server starts as root: so does its benchmark.");
  // The server sends its first requester a signal when children end.
  std::signal(childEndedSignal, SIG_IGN);
  std::string pattern = (std::filesystem::temp_directory_path() / "launch-bench-XXXXXX").string();
  const std::filesystem::path folder = ::mkdtemp(pattern.data());
  std::filesystem::permissions(folder, std::filesystem::perms(0755));
  ::setenv("TESSEL_RESMGR_ROOT", folder.c_str(), 1);

  PageServer pages;
  auto server = std::make_unique<Program>(Program::Environment{}, std::vector<std::string>{},
                                          "pagehost-server");
  if (!server->waitForError("Waiting for launch requests")) fail(server->errors());
  const auto launcher = std::make_unique<Launcher>(environmentIn(folder / "launched", pages.url()));
  const auto coldEnvironment = environmentIn(folder / "cold", pages.url());
  const auto browserEnvironment = environmentIn(folder / "browser", pages.url());
  const Starter launched = [&] { return launcher->start(); };
  const Starter cold = [&] { return startProgram({PAGEHOST_TEST_PROGRAM}, coldEnvironment); };
  const Starter browser = [&] { return startProgram({"surf", pages.url()}, browserEnvironment); };
  const bool hasBrowser = std::system("command -v surf >/dev/null") == 0;

  {
    const BareForker bare;
    std::vector<double> figure;
    std::vector<double> floor;
    for (int i = 0; i < 50; ++i) {
      auto begin = Clock::now();
      bare.launch();
      floor.push_back(milliseconds(Clock::now() - begin));
      begin = Clock::now();
      const pid_t pid = launcher->start();
      figure.push_back(milliseconds(Clock::now() - begin));
      ::kill(pid, SIGKILL);
    }
    std::printf("%-44s %10s %14s\n", "launcher server", "figure", "ratio");
    line("request -> process id answered", median(figure), "ms", median(floor),
         "of a bare server that forks");
  }

  std::array<std::vector<double>, 3> times;
  const std::array<const Starter*, 3> starters{&launched, &cold, hasBrowser ? &browser : nullptr};
  for (int round = 0; round <= rounds; ++round) {
    for (std::size_t i = 0; i < starters.size(); ++i) {
      if (!starters[i]) continue;
      const double time = loadTime(pages, *starters[i]);
      // The first run of each warms up caches.
      if (round > 0) times[i].push_back(time);
    }
  }
  line("request -> page loaded", median(times[0]), "ms", median(times[1]), "of a cold start");
  line("cold start -> page loaded", median(times[1]), "ms", median(times[1]), "");
  if (hasBrowser) {
    line("a small browser -> page loaded", median(times[2]), "ms", median(times[1]),
         "of a cold start");
  }

  const Memory shared = memoryOfTen(pages, launched);
  const Memory apart = memoryOfTen(pages, cold);
  line("ten launched applications", shared.applications, "MB", apart.applications,
       "of ten cold ones (PSS)");
  line("  with the engine's processes", shared.trees, "MB", apart.trees, "of ten cold ones (PSS)");
  server.reset();
  std::filesystem::remove_all(folder);
}
