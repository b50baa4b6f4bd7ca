// Attacks by a compromised web process or another process of the user: each fails, and the pages
// keep working.
#include "platform/sockets/Transfer.h"
#include "tests/support/LocalSocket.h"
#include "tests/support/Processes.h"
#include "tests/support/SuiteTest.h"

#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <thread>

namespace {

using namespace std::chrono_literals;
using test_support::childrenOf;
using test_support::descendantsNamed;
using test_support::Program;
namespace fs = std::filesystem;

class ProcessAttackTest : public test_support::SuiteTest {
 protected:
  ProcessAttackTest() {
    fs::create_directory(folder_ / "run");
    fs::permissions(folder_ / "run", fs::perms::owner_all);
    temporary_.write("home/secret", "a key");
    temporary_.write("data/pagehost/remembered/logins.json", "[]");
  }

  // Six web views, two in each of three child processes.
  std::unique_ptr<Program> start(const std::vector<std::string>& arguments = {}) const {
    return std::make_unique<Program>(
        environment("crowd.html", {{"HOME", (folder_ / "home").string()},
                                   {"XDG_RUNTIME_DIR", (folder_ / "run").string()},
                                   {"PAGEHOST_SANDBOX", ""},
                                   {"PAGEHOST_NEW", "1"}}),
        arguments);
  }
  void startWithoutNamespaces() const {
    const auto on = start({"--sandbox=on"});
    EXPECT_EQ(on->status(), EXIT_FAILURE);
    EXPECT_NE(on->errors().find("Web pages cannot be put into a sandbox: "), std::string::npos)
        << on->errors();
    const auto automatic = start({"--sandbox=auto"});
    EXPECT_TRUE(everybodyWorks(*automatic));
    EXPECT_EQ(automatic->errors().find("Sandbox of web pages: bubblewrap"), std::string::npos);
    EXPECT_EQ(automatic->errors().find("less confined"), std::string::npos) << automatic->errors();
  }
  static ::testing::AssertionResult everybodyWorks(Program& program) {
    return program.waitForLine("beat 6") ? ::testing::AssertionSuccess()
                                         : ::testing::AssertionFailure() << program.errors();
  }
  static std::vector<pid_t> webProcessesOf(const Program& program) {
    auto all = descendantsNamed(program.pid(), "WebKitWebProces");
    if (all.empty()) all = descendantsNamed(program.pid(), "/usr/lib");
    return all;
  }
};

// The value of a line of /proc/PID/status.
std::string statusOf(pid_t pid, const std::string& key) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(key + ":\t")) return line.substr(key.size() + 2);
  }
  return "no such line";
}

int threadsWithRights(pid_t pid) {
  int count = 0;
  std::error_code gone;
  const std::string tasks = "/proc/" + std::to_string(pid) + "/task";
  for (const auto& entry : fs::directory_iterator(tasks, gone)) {
    const std::string rights = statusOf(std::atoi(entry.path().filename().c_str()), "CapPrm");
    if (rights.find_first_not_of('0') != std::string::npos) ++count;
  }
  return count;
}

bool sharesNamespace(pid_t pid, const char* kind) {
  std::error_code gone;
  return fs::read_symlink("/proc/" + std::to_string(pid) + "/ns/" + kind, gone) ==
         fs::read_symlink(std::string("/proc/self/ns/") + kind, gone);
}

// A path as seen by another process.
fs::path seenBy(pid_t pid, const fs::path& path) {
  return "/proc/" + std::to_string(pid) + "/root" + path.string();
}

TEST_F(ProcessAttackTest, WebProcessesSeeNothingOfTheUserAndChildrenCanRiseNoMore) {
  const auto program = start();
  ASSERT_TRUE(everybodyWorks(*program));
  if (program->errors().find("Sandbox of web pages: bubblewrap") == std::string::npos) {
    GTEST_SKIP() << "no namespaces here: " << program->errors();
  }
  const auto web = webProcessesOf(*program);
  ASSERT_GE(web.size(), 4u);
  for (const pid_t pid : web) {
    EXPECT_EQ(statusOf(pid, "NoNewPrivs"), "1");
    EXPECT_EQ(statusOf(pid, "Seccomp"), "2");
    EXPECT_EQ(threadsWithRights(pid), 0);
    for (const char* kind : {"pid", "net", "mnt", "uts"}) {
      EXPECT_FALSE(sharesNamespace(pid, kind)) << kind;
    }
    EXPECT_FALSE(fs::exists(seenBy(pid, folder_ / "home/secret")));
    EXPECT_FALSE(fs::exists(seenBy(pid, folder_ / "data/pagehost/remembered")));
    // Of the program's sockets, only the page link of its own process.
    std::vector<std::string> sockets;
    for (const auto& entry :
         fs::recursive_directory_iterator(seenBy(pid, folder_ / "run/pagehost"))) {
      if (entry.is_socket()) sockets.push_back(entry.path().filename());
    }
    EXPECT_EQ(sockets, std::vector<std::string>{"link"});
  }
  const auto children = descendantsNamed(program->pid(), "pagehost-webvie");
  ASSERT_EQ(children.size(), 3u);
  for (const pid_t pid : children) {
    EXPECT_EQ(statusOf(pid, "NoNewPrivs"), "1");
    EXPECT_EQ(statusOf(pid, "Seccomp"), "2");
  }
}

// Forbids user namespaces for all processes that this process starts from now on.
void refuseUserNamespaces() {
  sock_filter program[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_clone3, 4, 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_unshare, 1, 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_clone, 0, 3),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[0])),
      BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, CLONE_NEWUSER | CLONE_NEWNS, 2, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
  };
  const sock_fprog whole{std::size(program), program};
  ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  ASSERT_EQ(::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &whole, 0, 0), 0);
}

TEST_F(ProcessAttackTest, TheSandboxIsWhatWasAskedForOrTheStartSaysWhyNot) {
  const auto off = start({"--sandbox=off"});
  ASSERT_TRUE(everybodyWorks(*off));
  EXPECT_NE(off->errors().find("Sandbox of web pages: none"), std::string::npos);
  for (const pid_t pid : webProcessesOf(*off)) EXPECT_TRUE(sharesNamespace(pid, "mnt"));
  const auto wrong = start({"--sandbox=sometimes"});
  EXPECT_EQ(wrong->status(), 2);
  EXPECT_NE(wrong->errors().find("\"sometimes\" is not on, off or auto"), std::string::npos);

  // In a separate process: the filter cannot be removed.
  const pid_t child = ::fork();
  if (child == 0) {
    refuseUserNamespaces();
    startWithoutNamespaces();
    ::_exit(HasFailure() ? 1 : 0);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

// The engine would end the program if one of its processes ends during start-up.
TEST_F(ProcessAttackTest, AnEngineProcessKilledAtItsStartTakesNothingAlong) {
  const std::pair<const char*, const char*> victims[] = {
      {"WebKitNetworkProcess", "off"}, {"WebKitWebProcess", "off"}, {"xdg-dbus-proxy", "auto"}};
  for (const auto& [command, sandbox] : victims) {
    // On a busy machine the process may have started already.
    bool isEarly = false;
    for (int attempt = 0; !isEarly && attempt < 10; ++attempt) {
      const auto program = start({std::string("--sandbox=") + sandbox});
      ASSERT_TRUE(program->waitForError("Sandbox of web pages: ")) << program->errors();
      const bool isThere = sandbox == std::string_view("off") ||
                           program->errors().find("pages: bubblewrap") != std::string::npos;
      if (!isThere) break;
      const auto end = std::chrono::steady_clock::now() + 20s;
      bool isKilled = false;
      while (!isKilled && std::chrono::steady_clock::now() < end) {
        for (const pid_t pid : childrenOf(program->pid())) {
          const auto line = test_support::contentOf("/proc/" + std::to_string(pid) + "/cmdline");
          if (line.find(command) != std::string::npos) {
            isKilled = ::kill(pid, SIGKILL) == 0;
          }
        }
      }
      ASSERT_TRUE(isKilled) << command;
      std::this_thread::sleep_for(1s);  // for what must not happen
      ::kill(program->pid(), SIGTERM);
      // It may not have installed its signal handlers yet.
      const auto status = program->status();
      EXPECT_TRUE(status == 0 || status == -SIGTERM) << status.value_or(1) << program->errors();
      isEarly = program->errors().find("has ended while it was started") != std::string::npos;
      if (!isEarly && attempt == 9) ADD_FAILURE() << "never early enough: " << command;
    }
  }
}

TEST_F(ProcessAttackTest, NoSocketOfTheProgramLeadsToTheEnginesInspector) {
  const auto program = start();
  ASSERT_TRUE(everybodyWorks(*program));
  int sockets = 0;
  for (const auto& entry : fs::recursive_directory_iterator(folder_ / "run")) {
    if (!entry.is_socket()) continue;
    ++sockets;
    const auto socket = test_support::socketAt(entry.path());
    if (!socket || Tessel::Platform::trySend(socket.get(), "GET / HTTP/1.0\r\n\r\n") < 0) continue;
    pollfd ready{socket.get(), POLLIN, 0};
    char answer[16] = {};
    if (::poll(&ready, 1, 500) > 0) ::recv(socket.get(), answer, sizeof answer - 1, MSG_DONTWAIT);
    EXPECT_FALSE(std::string_view(answer).starts_with("HTTP/")) << entry.path();
  }
  EXPECT_GE(sockets, 4) << "one page link for each process with web views";
}

}  // namespace
