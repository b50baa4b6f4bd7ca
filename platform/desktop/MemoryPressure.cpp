// Notices that the machine runs short of memory. Main thread.
#include "platform/desktop/MemoryPressure.h"

#include <fcntl.h>
#include <glib-unix.h>
#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <charconv>
#include <fstream>
#include <sstream>

namespace Tessel::Platform {

namespace {

// 150 ms of waiting within 2 s; users other than root may only name windows of whole 2 s.
constexpr std::string_view triggerText{"some 150000 2000000"};
// Percent of the last ten seconds: higher to begin than to end, so that it does not flutter.
constexpr double lowFrom = 10;
constexpr double lowUntil = 5;

}  // namespace

MemoryPressure::MemoryPressure(std::function<void()> onLow, std::string path, unsigned pollEvery)
    : onLow_(std::move(onLow)), path_(std::move(path)) {
  if (::access(path_.c_str(), R_OK) != 0 || askKernel()) return;
  source_ = g_timeout_add(
      pollEvery,
      [](gpointer self) -> gboolean {
        static_cast<MemoryPressure*>(self)->look();
        return G_SOURCE_CONTINUE;
      },
      this);
}

MemoryPressure::~MemoryPressure() {
  if (source_) g_source_remove(source_);
}

bool MemoryPressure::askKernel() {
  trigger_.reset(::open(path_.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
  struct statfs system {};
  // Anywhere else a trigger would only be written into somebody's file.
  const bool taken = trigger_ && ::fstatfs(trigger_.get(), &system) == 0 &&
                     system.f_type == PROC_SUPER_MAGIC &&
                     ::write(trigger_.get(), triggerText.data(), triggerText.size() + 1) ==
                         static_cast<ssize_t>(triggerText.size() + 1);
  if (!taken) {
    trigger_.reset();
    return false;
  }
  source_ = g_unix_fd_add(
      trigger_.get(), static_cast<GIOCondition>(G_IO_PRI | G_IO_ERR),
      [](gint, GIOCondition condition, gpointer data) -> gboolean {
        auto* self = static_cast<MemoryPressure*>(data);
        if ((condition & G_IO_ERR) != 0) {  // the file has gone, with its group of processes
          self->source_ = 0;
          return G_SOURCE_REMOVE;
        }
        self->onLow_();
        return G_SOURCE_CONTINUE;
      },
      this);
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
