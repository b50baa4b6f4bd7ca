// Rights that a web process gives up before its first document. Web process, main thread only.
//
// The kernel keeps capabilities and the rules for files for each thread, and the engine has started
// some by now. So every thread is sent a signal, and gives its rights up in the handler. Libraries
// block all signals in threads of their own, but for the one by which the C library itself changes
// the user of all threads: that one is borrowed.
#include "engine/webkit/webprocess/Lockdown.h"

#include "platform/base/UniqueFd.h"
#include "platform/os/Confinement.h"

#include <fcntl.h>
#include <glib.h>
#include <linux/capability.h>
#include <linux/landlock.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>

using Tessel::Platform::UniqueFd;

namespace {

// Values of the kernel interface that older headers lack.
struct Ruleset {
  std::uint64_t files = 0;
  std::uint64_t network = 0;
  std::uint64_t scoped = 0;
};
constexpr std::uint64_t truncating = 1u << 14;
constexpr std::uint64_t deviceControl = 1u << 15;
constexpr std::uint64_t bindAndConnect = 3;
constexpr std::uint64_t abstractSockets = 1;
constexpr std::uint64_t signals = 2;

constexpr std::uint64_t readOnly =
    LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
constexpr std::uint64_t device = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR |
                                 LANDLOCK_ACCESS_FS_WRITE_FILE | truncating | deviceControl;
constexpr std::uint64_t scratch = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR |
                                  LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_MAKE_REG |
                                  LANDLOCK_ACCESS_FS_MAKE_DIR | LANDLOCK_ACCESS_FS_REMOVE_FILE |
                                  LANDLOCK_ACCESS_FS_REMOVE_DIR | truncating;
// The rights that apply to a single file.
constexpr std::uint64_t ofFiles = LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_READ_FILE |
                                  LANDLOCK_ACCESS_FS_WRITE_FILE | truncating | deviceControl;

// What the kernel of that version can restrict; everything it can is, and the rules allow.
Ruleset everything(long version) {
  Ruleset ruleset;
  ruleset.files = (1u << 13) - 1;
  if (version >= 2) ruleset.files |= 1u << 13;  // moving between folders
  if (version >= 3) ruleset.files |= truncating;
  if (version >= 5) ruleset.files |= deviceControl;
  if (version >= 4) ruleset.network = bindAndConnect;
  if (version >= 6) ruleset.scoped = abstractSockets;
  // Before, threads of one process could not send each other any.
  if (version >= 7) ruleset.scoped |= signals;
  return ruleset;
}

void allow(int rules, const Ruleset& ruleset, const std::string& path, std::uint64_t access) {
  const UniqueFd file(::open(path.c_str(), O_PATH | O_CLOEXEC));
  struct stat status {};
  // Missing paths are skipped.
  if (!file || ::fstat(file.get(), &status) != 0) return;
  landlock_path_beneath_attr rule{};
  rule.allowed_access = access & ruleset.files;
  if (!S_ISDIR(status.st_mode)) rule.allowed_access &= ofFiles;
  rule.parent_fd = file.get();
  ::syscall(SYS_landlock_add_rule, rules, LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
}

UniqueFd makeRules(const std::string& moduleFolder) {
  const long version =
      ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
  if (version < 1) return UniqueFd();
  const Ruleset ruleset = everything(version);
  // Older kernels reject a longer structure unless its extra bytes are zero.
  UniqueFd rules(
      static_cast<int>(::syscall(SYS_landlock_create_ruleset, &ruleset, sizeof ruleset, 0)));
  if (!rules) return rules;
  const std::string home = g_get_home_dir();
  const std::string data = g_get_user_data_dir();
  const std::string cache = g_get_user_cache_dir();
  const std::string config = g_get_user_config_dir();
  for (const std::string& path :
       {std::string("/usr"), std::string("/lib"), std::string("/lib64"), std::string("/bin"),
        std::string("/etc"), std::string("/opt"), std::string("/sys"), std::string("/proc"),
        std::string("/var/cache/fontconfig"), std::string("/var/lib/dbus"), moduleFolder,
        home + "/.fonts", home + "/.fonts.conf", home + "/.fonts.conf.d", data + "/fonts",
        config + "/fontconfig", config + "/pulse"}) {
    allow(rules.get(), ruleset, path, readOnly);
  }
  for (const char* path : {"/dev/null", "/dev/zero", "/dev/full", "/dev/random", "/dev/urandom",
                           "/dev/dri", "/dev/nvidia0", "/dev/nvidiactl", "/dev/nvidia-modeset"}) {
    allow(rules.get(), ruleset, path, device);
  }
  for (const char* name : {"/fontconfig", "/mesa_shader_cache", "/gstreamer-1.0"}) {
    allow(rules.get(), ruleset, cache + name, scratch);
  }
  return rules;
}

// For the handler.
int rulesOfThreads = -1;
std::atomic<int> done = 0;
std::atomic<int> lastError = 0;

void restrictThread() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  const __user_cap_data_struct none[2] = {};
  if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || ::syscall(SYS_capset, &header, none) != 0 ||
      (rulesOfThreads >= 0 && ::syscall(SYS_landlock_restrict_self, rulesOfThreads, 0) != 0)) {
    lastError = errno;
  }
}

void onSignal(int) {
  const int error = errno;
  restrictThread();
  ++done;
  errno = error;
}

// Reserved by the C library, which never blocks it nor lets its callers do so.
constexpr int neverBlocked = 33;

// The kernel's layout: handler, flags, restorer, mask.
using KernelAction = std::array<std::uint64_t, 4>;

long exchangeAction(int number, const KernelAction* action, KernelAction* before) {
  return ::syscall(SYS_rt_sigaction, number, action, before, sizeof(std::uint64_t));
}

// "" or what is wrong.
std::string restrictThreads() {
  constexpr int mostRounds = 100;
  constexpr int mostPauses = 2000;  // of a millisecond, in all
  // The C library sets the restorer, but refuses to do so for its own signal.
  struct sigaction action {};
  struct sigaction ofModel {};
  action.sa_handler = onSignal;
  action.sa_flags = SA_RESTART;
  KernelAction ours{};
  KernelAction before{};
  if (::sigaction(SIGSYS, &action, &ofModel) != 0 || exchangeAction(SIGSYS, nullptr, &ours) != 0 ||
      ::sigaction(SIGSYS, &ofModel, nullptr) != 0 ||
      exchangeAction(neverBlocked, &ours, &before) != 0) {
    return std::strerror(errno);
  }
  restrictThread();
  std::set<pid_t> known{::gettid()};
  int sent = 0;
  int pauses = 0;
  bool isComplete = false;
  // A thread that is started by one with its rights inherits them, and is found in the next pass.
  for (int round = 0; round < mostRounds && !isComplete; ++round) {
    isComplete = true;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task", error)) {
      const pid_t thread = std::atoi(entry.path().filename().c_str());
      if (!known.insert(thread).second) continue;
      isComplete = false;
      if (::syscall(SYS_tgkill, ::getpid(), thread, neverBlocked) == 0) ++sent;
    }
    for (; done < sent && pauses < mostPauses; ++pauses) ::usleep(1000);
    if (error) break;
  }
  // A pending signal would end the process without a handler, so it is kept.
  if (done == sent) exchangeAction(neverBlocked, &before, nullptr);
  if (done < sent || !isComplete) return "a thread does not answer";
  return lastError != 0 ? std::strerror(lastError) : std::string();
}

bool hasCapabilities() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct sets[2] = {};
  if (::syscall(SYS_capget, &header, sets) != 0) return true;
  return (sets[0].permitted | sets[1].permitted) != 0;
}

}  // namespace

std::string lockDown(bool files, const std::string& moduleFolder) {
  UniqueFd rules;
  if (files) {
    rules = makeRules(moduleFolder);
    if (!rules) return std::strerror(errno);
  }
  rulesOfThreads = rules.get();
  std::string problem;
  if (files || hasCapabilities()) problem = restrictThreads();
  if (const int error = Tessel::Platform::confineProcess(); error != 0 && problem.empty()) {
    problem = std::strerror(error);
  }
  return problem;
}
