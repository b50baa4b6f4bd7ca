// The files of objects. Any thread.
#include "platform/pps/PPSFiles.h"

#include "platform/pps/PPSText.h"

#include <fcntl.h>
#include <glib.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <string_view>
#include <thread>
#include <utility>

namespace Tessel::Platform {

namespace {

using Clock = std::chrono::steady_clock;

// Interval between attempts to lock; also how long a writer yields on release, which must be long
// enough for an attempt of every waiting writer.
constexpr auto pauseOfWaiting = std::chrono::microseconds(200);
constexpr auto pauseForOthers = std::chrono::microseconds(400);
constexpr std::size_t longestPath = 1024;
constexpr mode_t privateFile = 0600;
constexpr mode_t privateFolder = 0700;
constexpr mode_t permissionBits = 0777;
// One temporary name suffices: the lock is exclusive, and a stale file of a killed writer is
// overwritten.
constexpr const char* newFile = ".pps-new";

std::error_code failure(int number = errno) {
  return {number, std::generic_category()};
}

UniqueFd openFolder(int parent, const char* name) {
  return UniqueFd(::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

std::error_code stepInto(UniqueFd& folder, const std::string& name, bool makes) {
  if (makes && ::mkdirat(folder.get(), name.c_str(), privateFolder) != 0 && errno != EEXIST) {
    return failure();
  }
  UniqueFd next = openFolder(folder.get(), name.c_str());
  if (!next) return failure();
  folder = std::move(next);
  return {};
}

std::error_code writeAll(int fd, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(fd, text.data(), text.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return failure();
    text.remove_prefix(static_cast<std::size_t>(count));
  }
  return {};
}

struct flock wholeRange(short type) {
  struct flock range {};
  range.l_type = type;
  range.l_whence = SEEK_SET;
  return range;
}

// If a file system does not support them, only fairness between writers suffers.
void setRangeLock(int fd, short type) {
  struct flock range = wholeRange(type);
  ::fcntl(fd, F_OFD_SETLK, &range);
}

bool somebodyElseHasRangeLock(int fd) {
  struct flock range = wholeRange(F_WRLCK);
  return ::fcntl(fd, F_OFD_GETLK, &range) == 0 && range.l_type != F_UNLCK;
}

mode_t permissionsOf(const PPSPlace& place) {
  struct stat status {};
  const bool isThere =
      ::fstatat(place.folder.get(), place.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
  return isThere ? status.st_mode & permissionBits : privateFile;
}

}  // namespace

std::string ppsRoot() {
  const char* chosen = g_getenv("TESSEL_PPS_ROOT");
  return chosen && *chosen ? chosen : std::string(g_get_user_data_dir()) + "/pagehost/pps";
}

std::error_code findPPSPlace(const std::string& root, const String& path, bool makesFolders,
                             PPSPlace& place) {
  std::string_view rest = path.view();
  if (rest.size() > longestPath) return failure(ENAMETOOLONG);
  while (!rest.empty() && rest.front() == '/') rest.remove_prefix(1);

  if (makesFolders && g_mkdir_with_parents(root.c_str(), privateFolder) != 0) return failure();
  // The root itself may be a symbolic link of the user's choice.
  UniqueFd folder(::open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder) return failure();
  for (;;) {
    const std::size_t end = std::min(rest.find('/'), rest.size());
    const std::string name(rest.substr(0, end));
    if (name.empty() || name.front() == '.' || name.find('\0') != std::string::npos ||
        name.find('\n') != std::string::npos) {
      return failure(EINVAL);
    }
    if (end == rest.size()) {
      place = {std::move(folder), name};
      return {};
    }
    if (const auto error = stepInto(folder, name, makesFolders)) return error;
    rest.remove_prefix(end + 1);
  }
}

std::error_code makePPSFile(const PPSPlace& place, bool exclusive, mode_t permissions) {
  const int flags = O_RDONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  const UniqueFd file(::openat(place.folder.get(), place.name.c_str(),
                               exclusive ? flags | O_EXCL : flags, permissions & permissionBits));
  return file ? std::error_code() : failure();
}

std::error_code checkPPSFileIsWritable(const PPSPlace& place) {
  const bool may = ::faccessat(place.folder.get(), place.name.c_str(), W_OK,
                               AT_EACCESS | AT_SYMLINK_NOFOLLOW) == 0;
  return may ? std::error_code() : failure();
}

std::error_code readPPSFile(const PPSPlace& place, std::string& text) {
  text.clear();
  // Non-blocking, in case it is a FIFO.
  const UniqueFd file(::openat(place.folder.get(), place.name.c_str(),
                               O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  if (!file || ::fstat(file.get(), &status) != 0) return failure();
  if (S_ISDIR(status.st_mode)) return failure(EISDIR);
  if (!S_ISREG(status.st_mode)) return failure(EINVAL);
  constexpr auto most = PPSValue::mostBytes;
  if (status.st_size > static_cast<off_t>(most)) return failure(EFBIG);
  // One extra byte, to detect the end in the same read.
  std::string read(static_cast<std::size_t>(status.st_size) + 1, '\0');
  std::size_t length = 0;
  for (;;) {
    const ssize_t count = ::read(file.get(), read.data() + length, read.size() - length);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return failure();
    if (count == 0) break;
    length += static_cast<std::size_t>(count);
    if (length > most) return failure(EFBIG);
    if (length == read.size()) read.resize(std::min(2 * length, most + 1));
  }
  read.resize(length);
  text = std::move(read);
  return {};
}

PPSFolderLock::PPSFolderLock(const PPSPlace& place, std::chrono::milliseconds longestWait)
    // Opened again: a flock belongs to the open file description, and threads share that of the
    // place.
    : folder_(openFolder(place.folder.get(), ".")) {
  if (!folder_) {
    error_ = failure();
    return;
  }
  error_ = acquire(longestWait);
}

std::error_code PPSFolderLock::acquire(std::chrono::milliseconds longestWait) {
  const auto end = Clock::now() + longestWait;
  bool isWaiting = false;
  while (::flock(folder_.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK && errno != EINTR) return failure();
    if (Clock::now() >= end) return failure(ETIMEDOUT);
    // fcntl locks are independent of flock: this one signals that a writer is waiting.
    if (!std::exchange(isWaiting, true)) setRangeLock(folder_.get(), F_RDLCK);
    std::this_thread::sleep_for(pauseOfWaiting);
  }
  if (isWaiting) setRangeLock(folder_.get(), F_UNLCK);
  return {};
}

PPSFolderLock::~PPSFolderLock() {
  if (!folder_ || error_) return;
  const bool isAwaited = somebodyElseHasRangeLock(folder_.get());
  folder_.reset();
  if (isAwaited) std::this_thread::sleep_for(pauseForOthers);
}

std::error_code PPSFolderLock::replace(const PPSPlace& place, const std::string& text) const {
  if (text.size() > PPSValue::mostBytes) return failure(EFBIG);
  const int folder = folder_.get();
  ::unlinkat(folder, newFile, 0);
  std::error_code error;
  {
    UniqueFd file(::openat(folder, newFile, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                           privateFile));
    if (!file) return failure();
    error = writeAll(file.get(), text);
    if (!error && ::fchmod(file.get(), permissionsOf(place)) != 0) error = failure();
    // Some file systems report a lack of space only on close.
    if (::close(file.release()) != 0 && !error) error = failure();
  }
  if (!error && ::renameat(folder, newFile, folder, place.name.c_str()) != 0) error = failure();
  if (error) ::unlinkat(folder, newFile, 0);
  return error;
}

}  // namespace Tessel::Platform
