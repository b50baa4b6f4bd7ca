// A small file, private to the user, that several processes share. Main thread.
#include "engine/autofill/PrivateFile.h"

#include "platform/base/Log.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::String;
using Tessel::Platform::UniqueFd;

namespace {

constexpr int mostTries = 100;
constexpr std::chrono::milliseconds betweenTries{5};

}  // namespace

PrivateFile::PrivateFile(std::string folder, const char* name)
    : folder_(std::move(folder)), path_(folder_ + "/" + name) {}

bool PrivateFile::failed(const char* what) const {
  logAlways(LogError, "%s cannot be %s: %s", path_.c_str(), what, std::strerror(errno));
  return false;
}

String PrivateFile::read() const {
  const UniqueFd file(::open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  if (!file) {
    if (errno != ENOENT) failed("read");
    return {};
  }
  struct stat status {};
  if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size > largest) {
    errno = EFBIG;
    failed("read");
    return {};
  }
  std::string text(static_cast<std::size_t>(status.st_size), '\0');
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t count = ::read(file.get(), text.data() + done, text.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    done += static_cast<std::size_t>(count);
  }
  text.resize(done);
  return String(std::move(text));
}

bool PrivateFile::hasChanged() {
  struct stat status {};
  Identity now;
  if (::lstat(path_.c_str(), &status) == 0) now = {status.st_ino, status.st_size, status.st_mtim};
  const bool changed = !(now == seen_);
  seen_ = now;
  return changed;
}

UniqueFd PrivateFile::lock() const {
  if (g_mkdir_with_parents(folder_.c_str(), 0700) != 0) return {};
  // Not the file itself: that is another one after each change.
  UniqueFd lock(::open((path_ + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
  for (int i = 0; lock && ::flock(lock.get(), LOCK_EX | LOCK_NB) != 0; ++i) {
    if ((errno != EWOULDBLOCK && errno != EINTR) || i == mostTries) return {};
    std::this_thread::sleep_for(betweenTries);
  }
  return lock;
}

bool PrivateFile::change(const std::function<String(const String&)>& change) {
  const UniqueFd held = lock();
  if (!held) return failed("changed");
  return replace(change(read()));
}

bool PrivateFile::replace(const String& text) const {
  if (text.isEmpty()) {
    return ::unlink(path_.c_str()) == 0 || errno == ENOENT || failed("removed");
  }
  constexpr auto flags =
      GFileSetContentsFlags(G_FILE_SET_CONTENTS_CONSISTENT | G_FILE_SET_CONTENTS_DURABLE);
  GError* error = nullptr;
  if (g_file_set_contents_full(path_.c_str(), text.utf8(), static_cast<gssize>(text.length()),
                               flags, S_IRUSR | S_IWUSR, &error)) {
    return true;
  }
  logAlways(LogError, "%s", error->message);
  g_error_free(error);
  return false;
}

std::string autofillFolder() {
  return std::string(g_get_user_data_dir()) + "/pagehost/remembered";
}
