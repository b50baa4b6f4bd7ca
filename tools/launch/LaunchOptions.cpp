// The command line of pagehost-launch.
#include "tools/launch/LaunchOptions.h"

#include "platform/options/CommandLine.h"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <string_view>

using Tessel::Platform::Option;
using Tessel::Platform::ProgramText;

namespace {

constexpr Option options[] = {
    {"uid", "USER", "Runs it as this user, a name or a number; your own unless you are root."},
    {"gid", "GROUP", "With this group; else the first of the user."},
    {"groups", "LIST",
     "With these supplementary groups, with commas between; else those of the user."},
    {"env", "NAME=VALUE",
     "With this variable; NAME alone takes the value from here. Again for more. HOME, USER, "
     "LOGNAME "
     "and XDG_RUNTIME_DIR of the user are set, and DISPLAY, XAUTHORITY, LANG and TZ from here."},
    {"cwd", "FOLDER", "In this working directory; else in the server's."},
    {"priority", "N", "With this priority; 10 is normal, more is more urgent."},
    {"console", "MODE",
     "Where its output goes: console (the server's), file (logs/log in the working directory), "
     "slog2 (the user's log files); else nowhere."},
    {"wait", nullptr, "Stays until it has ended, and ends with its status."},
};

constexpr std::array consoleModes{"console", "file", "slog2"};
constexpr std::array passedOn{"DISPLAY", "XAUTHORITY", "LANG", "TZ", "CHROME_URL"};

bool readNumber(std::string_view text, int& number) {
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  return result.ec == std::errc() && result.ptr == text.data() + text.size() && number >= 0;
}

// Option values collected before the user's record is looked up.
struct Given {
  std::optional<std::string> user;
  std::optional<std::string> group;
  std::optional<std::string> groups;
};

bool findGroup(const std::string& text, gid_t& gid, std::string& problem) {
  int number = 0;
  if (readNumber(text, number)) {
    gid = static_cast<gid_t>(number);
    return true;
  }
  const group* const record = ::getgrnam(text.c_str());
  if (!record) {
    problem = "There is no group \"" + text + "\".";
    return false;
  }
  gid = record->gr_gid;
  return true;
}

void groupsOf(const passwd& user, gid_t gid, std::vector<gid_t>& groups) {
  int count = 64;
  groups.resize(static_cast<std::size_t>(count));
  if (::getgrouplist(user.pw_name, gid, groups.data(), &count) < 0) {
    groups.resize(static_cast<std::size_t>(count));
    ::getgrouplist(user.pw_name, gid, groups.data(), &count);
  }
  groups.resize(static_cast<std::size_t>(std::max(count, 0)));
}

void setFromRecord(const passwd& user, LaunchOptions& options) {
  options.environment.emplace("HOME", user.pw_dir);
  options.environment.emplace("USER", user.pw_name);
  options.environment.emplace("LOGNAME", user.pw_name);
}

bool findUser(const Given& given, LaunchOptions& options, std::string& problem) {
  const passwd* record = nullptr;
  int number = 0;
  if (!given.user) {
    options.uid = ::getuid();
    record = ::getpwuid(options.uid);
  } else if (readNumber(*given.user, number)) {
    options.uid = static_cast<uid_t>(number);
    record = ::getpwuid(options.uid);
  } else {
    record = ::getpwnam(given.user->c_str());
    if (!record) {
      problem = "There is no user \"" + *given.user + "\".";
      return false;
    }
    options.uid = record->pw_uid;
  }
  if (given.group) {
    if (!findGroup(*given.group, options.gid, problem)) return false;
  } else if (record) {
    options.gid = record->pw_gid;
  } else {
    problem = "User " + std::to_string(options.uid) + " is not known here: give --gid as well.";
    return false;
  }
  if (!record) return true;
  setFromRecord(*record, options);
  if (!given.groups) groupsOf(*record, options.gid, options.groups);
  return true;
}

bool readGroups(const std::string& list, std::vector<gid_t>& groups, std::string& problem) {
  groups.clear();
  for (std::size_t start = 0; start < list.size();) {
    const std::size_t end = std::min(list.find(',', start), list.size());
    gid_t gid = 0;
    if (!findGroup(list.substr(start, end - start), gid, problem)) return false;
    groups.push_back(gid);
    start = end + 1;
  }
  return true;
}

void setVariable(const std::string& text, LaunchOptions& options) {
  const std::size_t equals = text.find('=');
  if (equals != std::string::npos) {
    options.environment[text.substr(0, equals)] = text.substr(equals + 1);
  } else if (const char* value = std::getenv(text.c_str())) {
    options.environment[text] = value;
  }
}

// Adds environment variables that an application needs, unless they were given explicitly.
void setDefaults(LaunchOptions& options) {
  for (const char* name : passedOn) {
    if (const char* value = std::getenv(name)) options.environment.emplace(name, value);
  }
  const std::string runtime = "/run/user/" + std::to_string(options.uid);
  if (::access(runtime.c_str(), F_OK) == 0) {
    options.environment.emplace("XDG_RUNTIME_DIR", runtime);
  }
}

// Processes one option.
bool take(std::string_view option, const std::string& value, Given& given, LaunchOptions& options,
          std::string& problem) {
  if (option == "uid") given.user = value;
  if (option == "gid") given.group = value;
  if (option == "groups") given.groups = value;
  if (option == "env") setVariable(value, options);
  if (option == "cwd") options.directory = value;
  if (option == "wait") options.wait = true;
  if (option == "priority") {
    if (readNumber(value, options.priority) && options.priority > 0) return true;
    problem = "A priority is a number from 1 up, not \"" + value + "\".";
    return false;
  }
  if (option == "console") {
    if (std::find(consoleModes.begin(), consoleModes.end(), value) == consoleModes.end()) {
      problem = "There is no console mode \"" + value + "\": it is console, file or slog2.";
      return false;
    }
    options.environment["CONSOLE_MODE"] = value;
  }
  return true;
}

const ProgramText& launchText() {
  static const ProgramText text{
      "pagehost-launch",
      "-- NAME [ARGUMENT...]",
      "Asks the launcher server for an application process, and prints its process id. The process "
      "is shown as NAME, and its page gets NAME and the arguments.",
      options,
      {{"files",
        "",
        {{"/dev/webkit",
          "The server, below the folder TESSEL_RESMGR_ROOT if that is set. It takes requests from "
          "root and from its own user only."}}},
       {"exit status",
        "",
        {{"0", "The application was started."},
         {"1", "The process could not be started."},
         {"2", "The command line is invalid."},
         {"with --wait",
          "That of the process, 128 and the number of the signal that ended it, or 1 when the "
          "server does not know it."}}},
       {"examples",
        "pagehost-launch --uid alice -- clock\n"
        "pagehost-launch --env CHROME_URL=https://example.org/ --wait -- board",
        {}}},
      true};
  return text;
}

}  // namespace

bool readOptions(int argc, char** argv, LaunchOptions& options, std::string& problem) {
  const auto line = Tessel::Platform::readCommandLine(launchText(), argc, argv);
  Given given;
  for (const auto& [option, value] : line.options) {
    if (!take(option->name, value, given, options, problem)) return false;
  }
  options.arguments.assign(line.words.begin() + 1, line.words.end() - 1);
  if (options.arguments.empty()) {
    problem = "What is the application to be called? A name is missing.";
    return false;
  }
  if (!findUser(given, options, problem)) return false;
  if (given.groups && !readGroups(*given.groups, options.groups, problem)) return false;
  if (options.uid == 0 || options.gid == 0) {
    problem = "An application is never root's: give --uid, and --gid if need be.";
    return false;
  }
  setDefaults(options);
  return true;
}
