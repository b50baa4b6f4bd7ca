// The launcher server with real requests and real children. Needs root, to start them as other
// users.
#include "platform/os/DeviceProtocol.h"
#include "src/LaunchedProcess.h"
#include "src/LauncherRequest.h"
#include "tests/launcher/RawRequest.h"
#include "tests/support/Mutator.h"
#include "tests/support/Processes.h"
#include "tests/support/Program.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Waiting.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

namespace {

using Tessel::Platform::UniqueFd;
using Tessel::Platform::Testing::iterateUntil;
using test_support::contentOf;
using test_support::Mutator;
using test_support::Program;
using test_support::RawClient;
using test_support::rawMessage;
using test_support::RawReply;
using test_support::RawRequest;

// The user ids of applications: real, effective, saved, and file system.
constexpr const char* user = "1234\t1234\t1234\t1234";

int descriptorCount(pid_t pid) {
  const std::filesystem::directory_iterator entries("/proc/" + std::to_string(pid) + "/fd");
  return static_cast<int>(std::distance(begin(entries), end(entries)));
}

using Report = std::map<std::string, std::string>;

// The lines "key=value" of an application (LauncherProbe.cpp), up to the empty one; none at the
// deadline.
Report readReport(int pipe) {
  Report report;
  std::string line;
  for (pollfd ready{pipe, POLLIN, 0}; ::poll(&ready, 1, 20000) == 1;) {
    char byte = 0;
    if (::read(pipe, &byte, 1) != 1) break;
    if (byte != '\n') {
      line += byte;
      continue;
    }
    if (line.empty()) return report;
    const std::size_t equals = line.find('=');
    report[line.substr(0, equals)] = line.substr(equals + 1);
    line.clear();
  }
  return {};
}

// Waits until the process is gone or a zombie.
bool waitForEnd(pid_t pid) {
  const UniqueFd process(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
  if (!process) return errno == ESRCH;
  pollfd ended{process.get(), POLLIN, 0};
  return ::poll(&ended, 1, 20000) == 1;
}

// Whether a mapping of a process that it can write to holds the text.
bool holdsInMemory(pid_t pid, const std::string& text) {
  std::ifstream maps("/proc/" + std::to_string(pid) + "/maps");
  std::ifstream memory("/proc/" + std::to_string(pid) + "/mem", std::ios::binary);
  for (std::string line; std::getline(maps, line);) {
    unsigned long first = 0;
    unsigned long end = 0;
    char rights[5] = {};
    constexpr unsigned long largest = 256UL << 20;  // more is only reserved
    if (std::sscanf(line.c_str(), "%lx-%lx %4s", &first, &end, rights) != 3 || rights[1] != 'w' ||
        end - first > largest) {
      continue;
    }
    std::string bytes(end - first, '\0');
    memory.clear();
    memory.seekg(static_cast<std::streamoff>(first));
    memory.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (bytes.find(text) != std::string::npos) return true;
  }
  return false;
}

class LauncherTest : public testing::Test {
 protected:
  void SetUp() override {
    if (::geteuid() != 0) GTEST_SKIP() << "the server starts as root";
    ::chmod(folder.c_str(), 0777);
    ::sigemptyset(&ends);
    ::sigaddset(&ends, childEndedSignal);
    ::sigprocmask(SIG_BLOCK, &ends, nullptr);
    const timespec now{};
    while (::sigtimedwait(&ends, nullptr, &now) > 0) {
    }  // those of another server's children
    ASSERT_EQ(::mkfifo(reportPath().c_str(), 0600), 0);
    ::chmod(reportPath().c_str(), 0666);
    // Opened at both ends, so that it stays open between applications.
    report = UniqueFd(::open(reportPath().c_str(), O_RDWR | O_CLOEXEC));
    start();
  }

  void start() {
    server.emplace(Program::Environment{{"TESSEL_RESMGR_ROOT", folder.string()},
                                        {"OVERWRITTEN", "the server's"},
                                        {"LC_NUMERIC", "de_DE"},
                                        {"SERVERS_SECRET", "not for applications"}},
                   std::vector<std::string>{}, "probe-server", PAGEHOST_TEST_PROBE);
    ASSERT_TRUE(server->waitForError("Waiting for launch requests")) << server->errors();
  }
  std::string reportPath() const { return folder.string() + "/report"; }
  std::string path() const { return folder.string() + launcherPath; }
  RawRequest request() const {
    RawRequest request;
    request.environment = {"REPORT=" + reportPath()};
    return request;
  }
  // The child's process id, or minus the error.
  static pid_t pidOf(const RawReply& reply) {
    if (reply.status != 0 || reply.data.size() != 4) return -reply.status;
    pid_t pid = 0;
    std::memcpy(&pid, reply.data.data(), 4);
    return pid;
  }
  pid_t launch(const RawRequest& request) {
    RawClient client(path());
    EXPECT_EQ(client.open(O_RDWR), 0);
    return pidOf(client.exchange(rawMessage(2, launchCommand, request.bytes())));
  }
  Report launchAndRead(const RawRequest& request) {
    const pid_t pid = launch(request);
    Report told = readReport(report.get());
    EXPECT_EQ(told["Pid"], std::to_string(pid)) << server->errors();
    EXPECT_TRUE(waitForEnd(pid));
    return told;
  }
  // The pid of the next ended child reported by the server; 0 if none is reported in time.
  pid_t nextEnd(int seconds) const {
    const timespec limit{seconds, 0};
    siginfo_t info{};
    if (::sigtimedwait(&ends, &info, &limit) != childEndedSignal) return 0;
    EXPECT_EQ(info.si_pid, server->pid());
    return info.si_value.sival_int;
  }

  const test_support::TemporaryFolder temporary;
  const std::filesystem::path folder = temporary.path();
  sigset_t ends{};
  UniqueFd report;
  std::optional<Program> server;
};

TEST_F(LauncherTest, AChildIsWhatTheRequestSaysAndCannotBecomeAnythingElse) {
  RawRequest wanted = request();
  wanted.version = 2;
  wanted.priority = 4;
  wanted.groups = {300, 400};
  wanted.arguments = {"some/where/a-name-of-more-than-15-letters", "", "second"};
  wanted.environment.insert(wanted.environment.end(),
                            {"CONSOLE_MODE=console", "GREETING=hello", "EMPTY=", "EQUATION=a=b",
                             "no equals sign", "OVERWRITTEN=anew"});
  wanted.directory = folder;
  Report told = launchAndRead(wanted);
  EXPECT_EQ(told["Uid"], user);
  EXPECT_EQ(told["Gid"], "2345\t2345\t2345\t2345");
  EXPECT_EQ(told["Groups"], "300 400 ");
  EXPECT_EQ(told["NSpgid"], told["Pid"]) << "it leads a group of its own";
  EXPECT_EQ(told["nice"], "6");
  EXPECT_EQ(told["Name"], std::string("some/where/a-name").substr(0, 15));
  EXPECT_EQ(told["folder"], folder.string());
  EXPECT_EQ(told["arguments"], "some/where/a-name-of-more-than-15-letters,,second,");
  EXPECT_EQ(told["GREETING"], "hello");
  EXPECT_EQ(told["EMPTY"], "");
  EXPECT_EQ(told["EQUATION"], "a=b");
  EXPECT_EQ(told["OVERWRITTEN"], "anew");
  for (const char* signals : {"SigCgt", "SigIgn"}) {
    EXPECT_EQ(std::stoull(told[signals], nullptr, 16) >> (SIGCHLD - 1) & 1, 0u) << signals;
  }
  EXPECT_EQ(told["foreign"], "0") << "descriptors of the server are left";
  EXPECT_EQ(told["SERVERS_SECRET"] + told["secretInMemory"], "unset0");
  EXPECT_EQ(told["HOME"], "unset") << "root's, or that of nobody's record";
  EXPECT_EQ(told["NoNewPrivs"], "1");
  for (const char* set : {"CapBnd", "CapEff", "CapPrm", "CapInh", "CapAmb"}) {
    EXPECT_EQ(told[set], "0000000000000000") << set;
  }
  EXPECT_EQ(told["in"], "/dev/null");
  for (const char* right :
       {"becomeRoot", "becomeServer", "becomeOther", "rootGroup", "signalParent"}) {
    EXPECT_EQ(told[right], std::to_string(EPERM)) << right;
  }
  EXPECT_EQ(server->nextLine(), "out") << "the console is the server's";
  EXPECT_TRUE(std::filesystem::exists(path())) << "the child has taken the server's path along";
}

TEST_F(LauncherTest, StandardStreamsGoWhereTheConsoleModeSays) {
  RawRequest wanted = request();
  Report told = launchAndRead(wanted);
  EXPECT_EQ(told["out"] + told["err"], "/dev/null/dev/null");

  wanted.version = 2;
  wanted.directory = folder / "home";
  std::filesystem::create_directories(folder / "home/logs");
  ASSERT_EQ(::chown((folder / "home/logs").c_str(), wanted.uid, wanted.gid), 0);
  wanted.environment.emplace_back("CONSOLE_MODE=file");
  told = launchAndRead(wanted);
  EXPECT_EQ(contentOf(folder / "home/logs/log"), "out\nerr\n");

  const std::filesystem::path runtime = folder / "run";
  std::filesystem::create_directory(runtime);
  ASSERT_EQ(::chown(runtime.c_str(), wanted.uid, wanted.gid), 0);
  wanted.environment.back() = "CONSOLE_MODE=slog2";
  wanted.environment.push_back("XDG_RUNTIME_DIR=" + runtime.string());
  launchAndRead(wanted);
  launchAndRead(wanted);
  EXPECT_EQ(contentOf(runtime / "pagehost/slog2/debug"), "out\nout\n") << "both are kept";
  EXPECT_EQ(contentOf(runtime / "pagehost/slog2/error"), "err\nerr\n");
}

TEST_F(LauncherTest, RequestsThatAreNotInOrderAreRefusedAndStartNothing) {
  const std::string good = request().bytes();
  const std::string launchMessage = rawMessage(2, launchCommand, good);
  RawClient client(path());
  EXPECT_EQ(client.exchange(launchMessage).status, EBADF) << "not opened yet";
  EXPECT_EQ(client.open(3), EINVAL);
  EXPECT_EQ(client.open(O_RDONLY), 0);
  EXPECT_EQ(client.open(O_RDWR), EINVAL) << "opened already";
  EXPECT_EQ(client.exchange(launchMessage).status, EBADF) << "opened to read";

  RawClient writer(path());
  ASSERT_EQ(writer.open(O_WRONLY), 0);
  const std::string flags =
      writer.exchange(rawMessage(2, Tessel::Platform::devctlGetFlags, "")).data;
  EXPECT_EQ(flags, test_support::word(O_WRONLY)) << "the default handler knows this one";
  const struct {
    const char* what;
    std::string packet;
  } refused[] = {
      {"another command", rawMessage(2, launchCommand + 1, good)},
      {"an unknown type", rawMessage(7, launchCommand, good)},
      {"half a header", launchMessage.substr(0, 9)},
      {"half a request", rawMessage(2, launchCommand, good.substr(0, 43))},
      {"less declared than a request has", rawMessage(2, launchCommand, good, 43)},
      {"more declared than arrived", rawMessage(2, launchCommand, good, good.size() + 1)},
      {"a size beyond all bounds", rawMessage(2, launchCommand, good, 0xffffffff)},
      {"larger than is received",
       rawMessage(2, launchCommand, good + std::string(largestLaunchMessage, 'x'))},
      {"behind another message",
       rawMessage(2, Tessel::Platform::devctlSetFlags, test_support::word(0), 4, 20) +
           launchMessage},
      {"a combined message longer than the packet", rawMessage(2, launchCommand, good, {}, 60000)},
      {"a combined message shorter than its header", rawMessage(2, launchCommand, good, {}, 3)},
  };
  for (const auto& [what, packet] : refused) {
    EXPECT_EQ(writer.exchange(packet).status, ENOSYS) << what;
  }
  EXPECT_TRUE(test_support::childrenOf(server->pid()).empty());
  EXPECT_EQ(nextEnd(0), 0);

  // The largest there can be, and a declared size below what arrived.
  RawRequest largest = request();
  largest.arguments.push_back(
      std::string(largestLaunchMessage - 16 - largest.bytes().size() - 1, 'a'));
  ASSERT_EQ(largest.bytes().size(), largestLaunchMessage - 16);
  EXPECT_GT(pidOf(writer.exchange(rawMessage(2, launchCommand, largest.bytes()))), 0);
  EXPECT_EQ(readReport(report.get())["Uid"], user);
  EXPECT_GT(pidOf(writer.exchange(rawMessage(2, launchCommand, good + "tail", good.size()))), 0);
  EXPECT_EQ(readReport(report.get())["Uid"], user);
}

TEST_F(LauncherTest, OnlyTheFirstRequesterIsToldOfEveryChildsEnd) {
  const pid_t mine = launch(request());
  EXPECT_EQ(nextEnd(20), mine);
  const pid_t other = ::fork();
  if (other == 0) {
    const pid_t its = launch(request());
    ::_exit(its > 0 && waitForEnd(its) && nextEnd(1) == 0 ? 0 : 1);
  }
  int status = 0;
  const pid_t its = nextEnd(20);
  ASSERT_EQ(::waitpid(other, &status, 0), other);
  EXPECT_EQ(status, 0) << "the second requester was told, or had no child";
  EXPECT_GT(its, 0);
  EXPECT_NE(its, mine);
}

TEST_F(LauncherTest, EveryEndCanBeAskedForWhateverBecomesOfTheSignals) {
  RawClient client(path());
  ASSERT_EQ(client.open(O_RDWR), 0);
  const auto endOf = [&](pid_t pid) {
    return client.exchange(rawMessage(2, launchEndCommand, test_support::word(pid)));
  };
  std::vector<pid_t> pids;
  for (int i = 0; i < 40; ++i) {
    RawRequest wanted = request();
    wanted.environment.push_back("STATUS=" + std::to_string(i));
    pids.push_back(pidOf(client.exchange(rawMessage(2, launchCommand, wanted.bytes()))));
    ASSERT_GT(pids.back(), 0);
    if (i % 8 != 7) continue;
    for (int reported = 0; reported < 8; ++reported) ASSERT_FALSE(readReport(report.get()).empty());
  }
  for (int i = 0; i < 40; ++i) {
    ASSERT_TRUE(waitForEnd(pids[i]));
    const std::string expected = test_support::word(1) + test_support::word(i << 8);
    EXPECT_EQ(endOf(pids[i]).data, expected) << i;
    EXPECT_TRUE(server->waitForError("Process " + std::to_string(pids[i]) + " ended with status " +
                                     std::to_string(i)))
        << server->errors();
  }
  EXPECT_TRUE(test_support::zombiesOf(server->pid()).empty());
  EXPECT_EQ(endOf(::getpid()).status, ESRCH);

  RawRequest held = request();
  held.environment = {"REPORT=" + folder.string() + "/held"};
  ASSERT_EQ(::mkfifo((folder / "held").c_str(), 0600), 0);
  ::chmod((folder / "held").c_str(), 0666);
  const pid_t running = pidOf(client.exchange(rawMessage(2, launchCommand, held.bytes())));
  EXPECT_EQ(endOf(running).data, std::string(8, '\0'));
  ASSERT_EQ(::kill(running, SIGKILL), 0);
  ASSERT_TRUE(waitForEnd(running));
  EXPECT_EQ(endOf(running).data, test_support::word(1) + test_support::word(SIGKILL));
}

TEST_F(LauncherTest, WhatOneUsersLaunchCarriedIsNotInTheServersMemoryAnyMore) {
  RawRequest secret = request();
  const std::string value = "0f6b1c-only-for-the-first-user";
  secret.environment.push_back("TOKEN=" + value);
  launchAndRead(secret);
  RawClient next(path());
  ASSERT_EQ(next.open(O_RDONLY), 0) << "the request is done with";
  EXPECT_FALSE(holdsInMemory(server->pid(), value));
  // The test can find it: it is in its own memory.
  EXPECT_TRUE(holdsInMemory(::getpid(), value));
}

TEST_F(LauncherTest, RootsGroupAndThoseBelowTheBoundAreNoSupplementaryGroupsEither) {
  RawRequest wanted = request();
  wanted.groups = {300, 0};
  RawClient client(path());
  ASSERT_EQ(client.open(O_RDWR), 0);
  const pid_t refused = pidOf(client.exchange(rawMessage(2, launchCommand, wanted.bytes())));
  ASSERT_GT(refused, 0) << "the requester still gets a process id";
  ASSERT_TRUE(waitForEnd(refused));
  EXPECT_EQ(client.exchange(rawMessage(2, launchEndCommand, test_support::word(refused))).data,
            test_support::word(1) + test_support::word(1 << 8));
}

TEST_F(LauncherTest, NobodyElseKeepsAServerFromStarting) {
  server.reset();
  // Files that another user can lock: the folder and the socket.
  const UniqueFd folderLock(::open((folder / "dev").c_str(), O_RDONLY | O_CLOEXEC));
  ASSERT_EQ(::flock(folderLock.get(), LOCK_EX | LOCK_NB), 0);
  start();
  EXPECT_EQ(launchAndRead(request())["Uid"], user);

  // The actual lock file is only accessible to root.
  struct stat status {};
  ASSERT_EQ(::stat((path() + ".lock").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
  server.reset();
  ASSERT_EQ(::chown((path() + ".lock").c_str(), 1234, 1234), 0);
  Program other({{"TESSEL_RESMGR_ROOT", folder.string()}}, {}, "probe-server", PAGEHOST_TEST_PROBE);
  EXPECT_EQ(other.status(), 1) << "somebody else's file";
}

TEST_F(LauncherTest, WithoutDescriptorsTheServerPausesAndGoesOn) {
  server.reset();
  rlimit own{};
  ::getrlimit(RLIMIT_NOFILE, &own);
  const rlimit few{24, own.rlim_max};
  ::setrlimit(RLIMIT_NOFILE, &few);
  start();
  ::setrlimit(RLIMIT_NOFILE, &own);
  std::vector<std::unique_ptr<RawClient>> silent;
  for (int i = 0; i < 60; ++i) silent.push_back(std::make_unique<RawClient>(path()));
  const long before = test_support::processorTime(server->pid());
  ::usleep(500000);
  EXPECT_LT(test_support::processorTime(server->pid()) - before, 200) << "milliseconds of 500";
  silent.clear();
  EXPECT_EQ(launchAndRead(request())["Uid"], user);
}

TEST_F(LauncherTest, ClientsWhoStayAndSayNothingKeepNobodyOut) {
  const int before = descriptorCount(server->pid());
  {
    std::vector<std::unique_ptr<RawClient>> silent;
    for (int i = 0; i < 200; ++i) silent.push_back(std::make_unique<RawClient>(path()));
    EXPECT_EQ(launchAndRead(request())["Uid"], user);
  }
  EXPECT_EQ(launchAndRead(request())["Uid"], user);
  // One more: that of the first requester.
  EXPECT_TRUE(iterateUntil([&] { return descriptorCount(server->pid()) <= before + 1; }));
}

// The framing is covered by tools/fuzz.
TEST_F(LauncherTest, RandomRequestsNeitherEndTheServerNorCostItAnything) {
  RawRequest plain;
  plain.version = 2;
  plain.groups = {5, 6};
  plain.arguments = {"a", "b"};
  plain.environment = {"A=B"};
  plain.directory = "/";
  Mutator mutator(6, {test_support::word(0), test_support::word(0xffffffff), test_support::word(89),
                      test_support::word(0x7fffffff), std::string(1, '\0'), "=", "/"});
  RawClient client(path());
  ASSERT_EQ(client.open(O_RDWR), 0);
  const int before = descriptorCount(server->pid());
  int launched = 0;
  for (int i = 0; i < 700; ++i) {
    const RawReply reply =
        client.exchange(rawMessage(2, launchCommand, mutator.damage(plain.bytes())));
    ASSERT_GE(reply.status, 0) << i << ": no answer\n" << server->errors();
    if (pidOf(reply) <= 0) continue;
    ++launched;
    ASSERT_TRUE(waitForEnd(pidOf(reply))) << i << ": a child goes on for ever";
  }
  EXPECT_GT(launched, 100);
  EXPECT_EQ(launchAndRead(request())["Uid"], user);
  // One more: that of the first requester.
  EXPECT_TRUE(iterateUntil([&] { return descriptorCount(server->pid()) <= before + 1; }));
}

TEST_F(LauncherTest, APathHasOneServerAndTheNextOneTakesItOver) {
  Program second({{"TESSEL_RESMGR_ROOT", folder.string()}}, {}, "second");
  EXPECT_EQ(second.status(), 1);
  EXPECT_NE(second.errors().find("resmgr_attach failed\n"), std::string::npos) << second.errors();
  struct stat status {};
  ASSERT_EQ(::stat(path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0600u);
  EXPECT_EQ(status.st_uid, 89u);
  EXPECT_EQ(status.st_gid, 214u);

  server.reset();  // by SIGKILL
  start();
  EXPECT_EQ(launchAndRead(request())["Uid"], user);
}

// Only a parent can read the status, so here the test starts the child itself.
TEST_F(LauncherTest, ChildrenThatCannotBeWhatIsAskedForEndWithoutRunningTheApplication) {
  const auto statusOf = [](const std::string& bytes) {
    const pid_t child = ::fork();
    if (child == 0) {
      std::string request = bytes;
      runLaunchedProcess(request.data(), request.size(), false,
                         [](int, char**) { std::_Exit(77); });
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  };
  const auto with = [](auto change) {
    RawRequest request;
    request.environment = {"A=B"};
    change(request);
    return request.bytes();
  };
  EXPECT_EQ(statusOf(with([](RawRequest&) {})), 77);
  EXPECT_EQ(statusOf(with([](RawRequest& r) { r.uid = 0; })), 1);
  EXPECT_EQ(statusOf(with([](RawRequest& r) { r.gid = 0; })), 1);
  EXPECT_EQ(statusOf(with([](RawRequest& r) { r.uid = 0xffffffff; })), 1);
  EXPECT_EQ(statusOf(with([](RawRequest& r) { r.groupCount = 0xffffffff; })), 1);
  EXPECT_EQ(statusOf(with([](RawRequest& r) { r.groupCount = 0x7fffffff; })), 1);
  EXPECT_EQ(statusOf(with([](RawRequest& r) { r.groupCount = 100; })), 255);
  EXPECT_EQ(statusOf(with([](RawRequest& r) { r.argumentCount = 0x7fffffff; })), 255);
  EXPECT_EQ(statusOf(with([](RawRequest& r) { r.argumentCount = 0xffffffff; })), 77)
      << "the first argument is there whatever the count says";
  EXPECT_EQ(statusOf(with([](RawRequest& r) { r.version = 2, r.directory = "/no/such/place"; })),
            255);
  EXPECT_EQ(statusOf(with([](RawRequest& r) { r.version = 2, r.directory = "/"; })), 77);
  std::string unterminated = with([](RawRequest&) {});
  unterminated.pop_back();
  EXPECT_EQ(statusOf(unterminated), 255);
  EXPECT_EQ(statusOf(with([](RawRequest&) {}).substr(0, 44)), 255) << "no strings at all";
}

}  // namespace
