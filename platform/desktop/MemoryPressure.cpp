// Detects memory pressure on the machine. Main thread.
#include "platform/desktop/MemoryPressure.h"

#include <fcntl.h>
#include <glib.h>
#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <charconv>
#include <fstream>
#include <sstream>

namespace Tessel::Platform {

namespace {

// 150 ms of stalls within 2 s; unprivileged users may only use windows that are multiples of 2 s.
constexpr std::string_view triggerText{"some 150000 2000000"};
// Percent of the last ten seconds. Hysteresis: it begins at a higher value than it ends.
constexpr double lowFrom = 10;
constexpr double lowUntil = 5;

}  // namespace

MemoryPressure::MemoryPressure(std::function<void()> onLow, std::string path, unsigned pollEvery)
    : onLow_(std::move(onLow)), path_(std::move(path)) {
  if (::access(path_.c_str(), R_OK) != 0 || askKernel()) return;
  timer_ = g_timeout_add(
      pollEvery,
      [](gpointer self) -> gboolean {
        static_cast<MemoryPressure*>(self)->look();
        return G_SOURCE_CONTINUE;
      },
      this);
}

MemoryPressure::~MemoryPressure() {
  if (timer_) g_source_remove(timer_);
}

bool MemoryPressure::askKernel() {
  trigger_.reset(::open(path_.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
  struct statfs system {};
  // On any other file system the trigger would be written into an ordinary file.
  const bool taken = trigger_ && ::fstatfs(trigger_.get(), &system) == 0 &&
                     system.f_type == PROC_SUPER_MAGIC &&
                     ::write(trigger_.get(), triggerText.data(), triggerText.size() + 1) ==
                         static_cast<ssize_t>(triggerText.size() + 1);
  if (!taken) {
    trigger_.reset();
    return false;
  }
  notice_.watch(trigger_.get(), POLLPRI, [this](short found) {
    // The cgroup was removed, and the file with it.
    if ((found & POLLERR) != 0) return notice_.stop();
    onLow_();
  });
  return true;
}

double MemoryPressure::shareOf(const std::string& text) {
  constexpr std::string_view start = "some avg10=";
  if (!text.starts_with(start)) return -1;
  double share = -1;
  std::from_chars(text.data() + start.size(), text.data() + text.size(), share);
  return share;
}

void MemoryPressure::look() {
  std::ostringstream text;
  text << std::ifstream(path_).rdbuf();
  const double share = shareOf(text.str());
  if (share < (isLow_ ? lowUntil : lowFrom)) {
    isLow_ = false;
  } else if (!isLow_) {
    isLow_ = true;
    onLow_();
  }
}

}  // namespace Tessel::Platform
