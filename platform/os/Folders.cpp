// The folders of the user that the program writes to. Any thread.
#include "platform/os/Folders.h"

#include "platform/base/Log.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <utility>
#include <vector>

namespace Tessel::Platform {

namespace {

constexpr int mostProcessesOfOneName = 64;

// The problem with a parent folder of ours; "" if there is none.
std::string problemOfBase(const std::string& base) {
  struct stat status {};
  if (::stat(base.c_str(), &status) != 0) return {};  // it can be made, or making ours says why not
  if (!S_ISDIR(status.st_mode)) return "is no folder";
  if (status.st_uid != ::geteuid() && status.st_uid != 0) return "belongs to another user";
  if ((status.st_mode & 022) != 0 && (status.st_mode & S_ISVTX) == 0) {
    return "can be written to by others";
  }
  return {};
}

// The problem with a folder that must be private.
std::string problemOf(const std::string& folder) {
  struct stat status {};
  if (::lstat(folder.c_str(), &status) != 0) return std::strerror(errno);
  if (!S_ISDIR(status.st_mode)) return "is no folder";
  if (status.st_uid != ::geteuid()) return "belongs to another user";
  if ((status.st_mode & 077) != 0) return "is open to others";
  return {};
}

void refuse(const std::string& folder, const std::string& problem) {
  static std::mutex mutex;
  static std::string told;
  {
    const std::lock_guard lock(mutex);
    if (std::exchange(told, folder + problem) == folder + problem) return;
  }
  logAlways(LogError, "The run-time folder is refused: %s %s", folder.c_str(), problem.c_str());
}

// Also one that an earlier version has made with more rights.
bool makePrivate(const std::string& folder) {
  return g_mkdir_with_parents(folder.c_str(), 0700) == 0 && ::chmod(folder.c_str(), 0700) == 0;
}

}  // namespace

std::string runtimeFolder() {
  const char* given = g_getenv("XDG_RUNTIME_DIR");
  const bool isGiven = given && *given;
  const std::string base = isGiven ? given : "/tmp";
  std::string folder =
      isGiven ? base + "/pagehost" : base + "/pagehost-" + std::to_string(::geteuid());
  if (const std::string problem = problemOfBase(base); !problem.empty()) {
    refuse(base, problem);
    errno = EACCES;
    return {};
  }
  if (g_mkdir_with_parents(folder.c_str(), 0700) != 0) {
    const int error = errno;
    refuse(folder, std::strerror(error));
    errno = error;
    return {};
  }
  if (const std::string problem = problemOf(folder); !problem.empty()) {
    refuse(folder, problem);
    errno = EACCES;
    return {};
  }
  return folder;
}

void removeStaleFiles(const std::string& folder, const char* prefix) {
  std::error_code unreadable;
  for (const auto& entry : std::filesystem::directory_iterator(folder, unreadable)) {
    const std::string name = entry.path().filename();
    if (name.rfind(prefix, 0) != 0) continue;
    const pid_t owner = std::atoi(name.c_str() + std::strlen(prefix));
    if (owner > 0 && ::kill(owner, 0) != 0 && errno == ESRCH) {
      std::filesystem::remove_all(entry.path(), unreadable);
    }
  }
}

void removeFilesOf(pid_t process) {
  const std::string number = "-" + std::to_string(process);
  std::error_code unreadable;
  for (const auto& entry : std::filesystem::directory_iterator(runtimeFolder(), unreadable)) {
    const std::string name = entry.path().filename();
    const std::string rest = name.substr(std::min(name.find('-'), name.size()));
    if (rest == number || rest.starts_with(number + "-")) {
      std::filesystem::remove_all(entry.path(), unreadable);
    }
  }
}

namespace {

struct Registered {
  std::mutex mutex;
  pid_t owner = 0;
  std::vector<std::string> paths;
  std::vector<std::pair<std::string, std::string>> beginnings;  // a folder's, of names in it
};

Registered& registered() {
  static auto* const files = new Registered;  // used at exit
  return *files;
}

// With the lock of the caller.
void hookExit(Registered& files) {
  static bool isHooked = false;
  if (!std::exchange(isHooked, true)) std::atexit(removeRegisteredFiles);
  // What a process has inherited is its parent's.
  if (std::exchange(files.owner, ::getpid()) == ::getpid()) return;
  files.paths.clear();
  files.beginnings.clear();
}

void removeBeginning(const std::string& folder, const std::string& prefix) {
  std::error_code unreadable;
  for (const auto& entry : std::filesystem::directory_iterator(folder, unreadable)) {
    if (!entry.path().filename().string().starts_with(prefix)) continue;
    std::filesystem::remove_all(entry.path(), unreadable);
  }
}

}  // namespace

void removeAtExit(const std::string& path) {
  Registered& files = registered();
  const std::lock_guard lock(files.mutex);
  hookExit(files);
  files.paths.push_back(path);
}

void removeAtExit(const std::string& folder, const std::string& prefix) {
  Registered& files = registered();
  const std::lock_guard lock(files.mutex);
  hookExit(files);
  files.beginnings.emplace_back(folder, prefix);
}

void removeRegisteredFiles() {
  Registered& files = registered();
  const std::lock_guard lock(files.mutex);
  if (files.owner != ::getpid()) return;
  for (const std::string& path : files.paths) ::remove(path.c_str());
  for (const auto& [folder, prefix] : files.beginnings) removeBeginning(folder, prefix);
  files.paths.clear();
  files.beginnings.clear();
}

ClaimedFolder claimDataFolder(const std::string& name) {
  ClaimedFolder claimed;
  for (int number = 1; number <= mostProcessesOfOneName; ++number) {
    const std::string own = number == 1 ? name : name + "-" + std::to_string(number);
    claimed.data = std::string(g_get_user_data_dir()) + "/pagehost/" + own;
    claimed.cache = std::string(g_get_user_cache_dir()) + "/pagehost/" + own;
    if (!makePrivate(claimed.data) || !makePrivate(claimed.cache)) return claimed;
    const std::string lock = claimed.data + "/lock";
    UniqueFd file(::open(lock.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (file.get() < 0) return claimed;
    if (::flock(file.get(), LOCK_EX | LOCK_NB) == 0) {
      claimed.lock = std::move(file);
      return claimed;
    }
    if (errno != EWOULDBLOCK) return claimed;
  }
  errno = EBUSY;
  return claimed;
}

}  // namespace Tessel::Platform
