// The folders of the user that the program writes to. Any thread.
#include "platform/Folders.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace Tessel::Platform {

namespace {

constexpr int mostProcessesOfOneName = 64;

bool makePrivate(const std::string& folder) {
  if (g_mkdir_with_parents(folder.c_str(), 0700) != 0) return false;
  struct stat status {};
  if (::lstat(folder.c_str(), &status) != 0) return false;
  if (!S_ISDIR(status.st_mode) || status.st_uid != ::geteuid() || (status.st_mode & 077) != 0) {
    errno = EACCES;
    return false;
  }
  return true;
}

}  // namespace

std::string runtimeFolder() {
  const char* base = g_getenv("XDG_RUNTIME_DIR");
  const std::string folder = base && *base ? std::string(base) + "/pagehost"
                                           : "/tmp/pagehost-" + std::to_string(::geteuid());
  return makePrivate(folder) ? folder : std::string();
}

void removeSocketsOfTheDead(const std::string& folder, const char* prefix) {
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

ClaimedFolder claimDataFolder(const std::string& name) {
  ClaimedFolder claimed;
  for (int number = 1; number <= mostProcessesOfOneName; ++number) {
    const std::string own = number == 1 ? name : name + "-" + std::to_string(number);
    claimed.data = std::string(g_get_user_data_dir()) + "/pagehost/" + own;
    claimed.cache = std::string(g_get_user_cache_dir()) + "/pagehost/" + own;
    if (g_mkdir_with_parents(claimed.data.c_str(), 0700) != 0) return claimed;
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
