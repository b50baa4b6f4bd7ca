// What the engine's sandbox leaves in the user's run-time folder. Any thread.
#include "platform/os/SandboxFiles.h"

#include "platform/os/Folders.h"

#include <glib.h>
#include <signal.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

namespace Tessel::Platform {

namespace {

namespace fs = std::filesystem;

constexpr const char* prefix = "webkit-";
// Older files without a process id belong to a process that failed to start.
constexpr time_t longestStart = 60;  // seconds

std::string folderOf(const char* name) {
  const char* const runtime = std::getenv("XDG_RUNTIME_DIR");
  return std::string(runtime && *runtime ? runtime : g_get_user_runtime_dir()) + "/" + name;
}

bool isOld(const fs::path& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 && ::time(nullptr) - status.st_mtime > longestStart;
}

// The pid of the process in the sandbox, from {"child-pid": 4711, ...}; 0 if missing.
pid_t processIn(const fs::path& folder) {
  std::ifstream file(folder / "bwrapinfo.json");
  const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  constexpr std::string_view key = "\"child-pid\":";
  const auto found = text.find(key);
  return found == std::string::npos ? 0 : std::atoi(text.c_str() + found + key.size());
}

bool isOver(const fs::path& folder) {
  const pid_t process = processIn(folder);
  if (process <= 0) return isOld(folder);
  return ::kill(process, 0) != 0 && errno == ESRCH;
}

// The paths of sockets that are in use by a listener or a connection.
std::set<std::string> pathsInUse() {
  std::set<std::string> paths;
  std::ifstream table("/proc/net/unix");
  for (std::string line; std::getline(table, line);) {
    const auto path = line.find('/');
    if (path != std::string::npos) paths.insert(line.substr(path));
  }
  return paths;
}

void removeSocketsOfNobody(const std::string& folder) {
  std::error_code unreadable;
  std::set<std::string> inUse;
  for (const auto& entry : fs::directory_iterator(folder, unreadable)) {
    if (!entry.is_socket(unreadable) || !isOld(entry.path())) continue;
    if (inUse.empty()) inUse = pathsInUse();
    // An empty table has not been read.
    if (!inUse.empty() && !inUse.contains(entry.path())) fs::remove(entry.path(), unreadable);
  }
}

}  // namespace

void removeSandboxLeftovers() {
  const std::string folder = folderOf(".flatpak");
  const std::string own = prefix + std::to_string(::getpid()) + "-";
  removeStaleFiles(folder, prefix);
  std::error_code unreadable;
  for (const auto& entry : fs::directory_iterator(folder, unreadable)) {
    if (!entry.path().filename().string().starts_with(own) || !isOver(entry.path())) continue;
    fs::remove_all(entry.path(), unreadable);
  }
  removeSocketsOfNobody(folderOf("webkitgtk"));
}

void removeSandboxFilesOf(pid_t process) {
  const std::string theirs = prefix + std::to_string(process) + "-";
  std::error_code unreadable;
  for (const auto& entry : fs::directory_iterator(folderOf(".flatpak"), unreadable)) {
    if (entry.path().filename().string().starts_with(theirs))
      fs::remove_all(entry.path(), unreadable);
  }
}

void removeSandboxFilesAtExit() {
  removeAtExit(folderOf(".flatpak"), prefix + std::to_string(::getpid()) + "-");
}

}  // namespace Tessel::Platform
