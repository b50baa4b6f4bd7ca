// What an application of the tests tells of itself.
#include "tests/launcher/ProbeReport.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <vector>

namespace test_support {

namespace {

std::string groupsText() {
  std::vector<gid_t> groups(256);
  groups.resize(static_cast<std::size_t>(::getgroups(256, groups.data())));
  std::string text;
  for (const gid_t group : groups) text += std::to_string(group) + ",";
  return text;
}

std::string linkText(int descriptor) {
  std::error_code problem;
  return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), problem)
      .string();
}

// Descriptors that are open beside the standard streams.
int foreignDescriptors() {
  int count = 0;
  for (int descriptor = 3; descriptor < 256; ++descriptor)
    count += ::fcntl(descriptor, F_GETFD) >= 0;
  return count;
}

// A line of the process's status.
std::string statusOf(const std::string& key) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(key + ":\t")) return line.substr(key.size() + 2);
  }
  return {};
}

// "granted" or the error.
std::string attempt(long number, long argument) {
  return ::syscall(number, argument) == 0 ? "granted" : std::to_string(errno);
}

std::string shortName() {
  std::string name;
  std::getline(std::ifstream("/proc/self/comm"), name);
  return name;
}

std::string ids(uid_t real, uid_t effective) {
  return std::to_string(real) + "," + std::to_string(effective);
}

}  // namespace

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

void reportMain(int argc, char** argv) {
  std::ostringstream text;
  text << "user=" << ids(::getuid(), ::geteuid()) << "\ngroup=" << ids(::getgid(), ::getegid())
       << "\ngroups=" << groupsText() << "\npid=" << ::getpid()
       << "\nleads=" << (::getpgrp() == ::getpid()) << "\nnice=" << ::getpriority(PRIO_PROCESS, 0)
       << "\nname=" << shortName() << "\nfolder=" << std::filesystem::current_path().string()
       << "\nin=" << linkText(0) << "\nout=" << linkText(1) << "\nerr=" << linkText(2)
       << "\nforeign=" << foreignDescriptors();
  std::string arguments;
  for (int i = 0; i < argc; ++i) arguments += std::string(argv[i]) + ",";
  text << "\narguments=" << arguments << (argv[argc] ? "unterminated" : "");
  for (const char* name :
       {"GREETING", "EMPTY", "EQUATION", "OVERWRITTEN", "SERVERS_SECRET", "HOME"}) {
    const char* value = std::getenv(name);
    text << "\n" << name << "=" << (value ? value : "unset");
  }
  for (const char* key : {"NoNewPrivs", "CapBnd", "CapEff", "CapPrm", "CapInh", "CapAmb"}) {
    text << "\n" << key << "=" << statusOf(key);
  }
  std::ifstream initial("/proc/self/environ");
  const std::string block{std::istreambuf_iterator<char>(initial), {}};
  text << "\nsecretInMemory=" << (block.find("not for applications") != std::string::npos);
  struct sigaction action {};
  ::sigaction(SIGCHLD, nullptr, &action);
  text << "\nchildren=" << (action.sa_handler == SIG_DFL ? "default" : "handled");
  std::puts("out");
  std::fflush(stdout);
  std::fputs("err\n", stderr);
  // Root at last, the server's user, some user, some group, and another process of another user.
  text << "\nbecomeRoot=" << attempt(SYS_setuid, 0) << "\nbecomeServer=" << attempt(SYS_setuid, 89)
       << "\nbecomeOther=" << attempt(SYS_setuid, 4321) << "\nrootGroup=" << attempt(SYS_setgid, 0)
       << "\nsignalParent=" << (::kill(::getppid(), 0) == 0 ? "granted" : std::to_string(errno))
       << "\n\n";
  const char* const report = std::getenv("REPORT");
  const int pipe = report ? ::open(report, O_WRONLY) : -1;
  const std::string bytes = text.str();
  if (::write(pipe, bytes.data(), bytes.size()) < 0) std::exit(9);
  const char* const status = std::getenv("STATUS");
  std::exit(status ? std::atoi(status) : EXIT_SUCCESS);
}

}  // namespace test_support
