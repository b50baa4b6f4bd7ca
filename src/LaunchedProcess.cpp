// Turns a forked child of the launcher server into an application.
#include "src/LaunchedProcess.h"

#include "platform/base/Log.h"
#include "platform/os/LogDevices.h"
#include "platform/os/Process.h"
#include "platform/os/ProcessAbilities.h"
#include "platform/os/Scheduling.h"
#include "src/LauncherRequest.h"
#include "src/StreamRedirection.h"

#include <fcntl.h>
#include <fontconfig/fontconfig.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

extern const char* __progname;

namespace {

using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::LogNotice;

constexpr int invalidRequest = -1;

// Logs the reason, since the requester only learns that the process has exited.
[[noreturn]] void refuse(int status, const char* what, int error = 0) {
  if (error != 0) {
    logAlways(LogError, "Launch refused: %s: %s (%d)", what, std::strerror(error), error);
  } else {
    logAlways(LogError, "Launch refused: %s", what);
  }
  std::exit(status);
}

// Reads the strings of a request in sequence.
class Strings {
 public:
  Strings(char* first, std::size_t unread) : next_(first), unread_(unread) {}

  // Exits if there is no complete string left.
  char* next() {
    char* const string = next_;
    const void* const end = unread_ > 0 ? std::memchr(string, '\0', unread_) : nullptr;
    if (!end) refuse(invalidRequest, "a string runs past the end of the request");
    const std::size_t whole = std::strlen(string) + 1;
    next_ += whole;
    unread_ -= whole;
    return string;
  }

 private:
  char* next_;
  std::size_t unread_;
};

void takePriority(int priority) {
  if (priority <= 0) return;
  using Tessel::Platform::SchedSet;
  int error = SchedSet(0, -1, -1, priority);
  if (error == 0) error = SchedSet(0, 0, -1, priority);
  if (error != 0) logAlways(LogNotice, "Priority %d: %s", priority, std::strerror(error));
}

// Returns the size in bytes of the groups in the request.
std::size_t takeGroups(const LauncherRequest& request, const char* groups, std::size_t unread) {
  if (request.ngroups < 0 || request.ngroups > ::sysconf(_SC_NGROUPS_MAX)) {
    refuse(EXIT_FAILURE, "that many supplementary groups are not possible");
  }
  const auto count = static_cast<std::size_t>(request.ngroups);
  const std::size_t size = count * sizeof(gid_t);
  if (size >= unread) refuse(invalidRequest, "the supplementary groups are not all there");
  std::vector<gid_t> list(count);
  if (count > 0) std::memcpy(list.data(), groups, size);
  if (const int error = Tessel::Platform::switchGroups(list); error != 0) {
    refuse(EXIT_FAILURE, "the supplementary groups cannot be set", error);
  }
  return size;
}

void takeUser(const LauncherRequest& request) {
  if (request.gid <= 0 || request.uid <= 0) {
    refuse(EXIT_FAILURE, "user and group id must be greater than 0");
  }
  if (::setgid(static_cast<gid_t>(request.gid)) != 0) {
    refuse(EXIT_FAILURE, "the group cannot be set", errno);
  }
  if (::setuid(static_cast<uid_t>(request.uid)) != 0) {
    refuse(EXIT_FAILURE, "the user cannot be set", errno);
  }
}

void giveUpAbilities() {
  using namespace Tessel::Platform;
  const int error = procmgr_ability(
      0, {{AbilityDeny | AbilitySetUserId},
          {AbilityDeny | AbilitySetGroupId},
          {AbilityDeny | AbilitySignalOthers},
          {AbilityNonRoot | AbilityAllow | AbilityMapFixed},
          {AbilityNonRoot | AbilityInherit | AbilityLock | AbilityRange | AbilityMapFixed, 4096}});
  if (error != 0) refuse(EXIT_FAILURE, "the server's abilities cannot be given up", error);
  // The kernel makes a process that changed its user undumpable, which hides it from debuggers and
  // system monitors of that user. It holds nothing of the server that they must not see.
  ::prctl(PR_SET_DUMPABLE, 1);
}

std::vector<char*> readArguments(const LauncherRequest& request, Strings& strings) {
  char* const name = strings.next();
  // Libraries use the base name as the process's name.
  const char* const slash = std::strrchr(name, '/');
  __progname = slash ? slash + 1 : name;
  Tessel::Platform::showProcessName(name);
  // An impossible count ends the process before it allocates much memory.
  std::vector<char*> arguments{name};
  for (int i = 1; i < request.argc; ++i) arguments.push_back(::strdup(strings.next()));
  arguments.push_back(nullptr);
  return arguments;
}

// The variables of the server's environment that an application inherits unless the request sets
// them: the set-up of this program on this machine. All others are removed.
bool isInherited(std::string_view variable) {
  constexpr std::array names{"PATH",
                             "LANG",
                             "LANGUAGE",
                             "TZ",
                             "DISPLAY",
                             "WIDTH",
                             "HEIGHT",
                             "ROTATION",
                             "CONSOLE_MODE",
                             "CHROME_URL",
                             "SOCK_SO_BINDTODEVICE",
                             "WEBKIT_DISABLE_DMABUF_RENDERER"};
  constexpr std::array prefixes{"LC_", "TESSEL_", "PAGEHOST_"};
  const std::string_view name = variable.substr(0, variable.find('='));
  return std::find(names.begin(), names.end(), name) != names.end() ||
         std::any_of(prefixes.begin(), prefixes.end(),
                     [&](std::string_view prefix) { return name.starts_with(prefix); });
}

void forgetServersEnvironment() {
  std::vector<std::pair<std::string, std::string>> kept;
  for (char** variable = environ; variable && *variable; ++variable) {
    const std::string_view text = *variable;
    const std::size_t equals = text.find('=');
    if (isInherited(text) && equals != std::string_view::npos) {
      kept.emplace_back(text.substr(0, equals), text.substr(equals + 1));
    } else {
      // Overwritten, since it would stay readable in /proc.
      ::explicit_bzero(*variable, text.size());
    }
  }
  ::clearenv();
  for (const auto& [name, value] : kept) ::setenv(name.c_str(), value.c_str(), 1);
  ::setenv("PATH", "/usr/local/bin:/usr/bin:/bin", 0);
}

// Default for requests without the user's home.
void completeEnvironment() {
  const passwd* const user = std::getenv("HOME") ? nullptr : ::getpwuid(::getuid());
  if (user) ::setenv("HOME", user->pw_dir, 1);
}

void readEnvironment(const LauncherRequest& request, Strings& strings) {
  for (int i = 0; i < request.envc; ++i) {
    char* const variable = strings.next();
    char* const value = std::strchr(variable, '=');
    if (!value) continue;
    *value = '\0';
    ::setenv(variable, value + 1, 1);
  }
  completeEnvironment();
}

void enterWorkingDirectory(const LauncherRequest& request, Strings& strings) {
  if (request.version <= 1) return;
  const char* const directory = strings.next();
  if (::chdir(directory) == 0) return;
  std::fprintf(stderr, "Unable to chdir %s (%d)\n", directory, errno);
  std::exit(invalidRequest);
}

// open() returns the lowest free descriptor.
void openInPlace(int descriptor, int flags) {
  ::close(descriptor);
  ::open("/dev/null", flags);
}

void takeStreams() {
  openInPlace(STDIN_FILENO, O_RDONLY);
  const char* const variable = std::getenv("CONSOLE_MODE");
  const std::string_view mode = variable ? variable : "";
  if (mode == "console") return;
  if (mode == "file") {
    redirectStandardStream(STDOUT_FILENO, "logs/log", O_WRONLY | O_CREAT | O_TRUNC);
    ::close(STDERR_FILENO);
    if (::dup(STDOUT_FILENO) < 0) logAlways(LogError, "Standard error: %s", std::strerror(errno));
  } else if (mode == "slog2") {
    using Tessel::Platform::logDevice;
    constexpr int writeOnly = O_WRONLY | O_APPEND;
    redirectStandardStream(STDOUT_FILENO, logDevice("debug").c_str(), writeOnly);
    redirectStandardStream(STDERR_FILENO, logDevice("error").c_str(), writeOnly);
  } else {
    openInPlace(STDOUT_FILENO, O_WRONLY);
    openInPlace(STDERR_FILENO, O_WRONLY);
  }
}

// The server's font cache covers the system's fonts and, at most, those of its own user.
void addFontsOfUser() {
  const char* const home = std::getenv("HOME");
  const char* const data = std::getenv("XDG_DATA_HOME");
  const char* const config = std::getenv("XDG_CONFIG_HOME");
  const std::string homeFolder = home ? home : "";
  const std::string dataFolder = data && *data ? data : homeFolder + "/.local/share";
  const std::string configFolder = config && *config ? config : homeFolder + "/.config";
  for (const std::string& place :
       {homeFolder + "/.fonts", dataFolder + "/fonts", configFolder + "/fontconfig"}) {
    if (::access(place.c_str(), R_OK) != 0) continue;
    FcInitReinitialize();
    return;
  }
}

}  // namespace

void runLaunchedProcess(char* data, std::size_t size, bool restricted,
                        ApplicationMain application) {
  LauncherRequest request{};
  std::memcpy(&request, data, sizeof request);
  char* const rest = data + sizeof request;
  const std::size_t unread = size - sizeof request;

  ::setpgrp();
  // The server's descriptors are closed already; this closes any left by libraries.
  ::close_range(STDERR_FILENO + 1, std::numeric_limits<unsigned int>::max(), 0);
  // Disables set-user-id programs and file capabilities for the application and its children.
  if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) {
    refuse(EXIT_FAILURE, "no-new-privileges cannot be set", errno);
  }
  takePriority(request.priority);
  const std::size_t groupsSize = takeGroups(request, rest, unread);
  takeUser(request);
  if (restricted) giveUpAbilities();

  Strings strings(rest + groupsSize, unread - groupsSize);
  // Before the process's name is set, which may move the environment.
  forgetServersEnvironment();
  // Static: used by the application for its lifetime.
  static std::vector<char*> arguments;
  arguments = readArguments(request, strings);
  readEnvironment(request, strings);
  enterWorkingDirectory(request, strings);
  takeStreams();
  addFontsOfUser();
  Tessel::Platform::setupApplicationLogging(Tessel::Platform::processName());
  Tessel::Platform::traceStart("application forked");
  application(static_cast<int>(arguments.size()) - 1, arguments.data());
  std::abort();
}
