// A listening socket as a source of the default main context. Main thread.
#include "platform/os/AcceptSource.h"

#include "platform/base/Log.h"
#include "platform/os/Accept.h"

#include <glib-unix.h>
#include <sys/socket.h>

#include <cstring>
#include <utility>

namespace Tessel::Platform {

AcceptSource::AcceptSource(int listener, std::function<void(UniqueFd)> accepted)
    : listener_(listener), accepted_(std::move(accepted)) {
  watch();
}

AcceptSource::~AcceptSource() {
  g_source_remove(source_);
}

void AcceptSource::watch() {
  source_ = g_unix_fd_add(
      listener_, G_IO_IN,
      [](gint, GIOCondition, gpointer data) -> gboolean {
        return static_cast<AcceptSource*>(data)->accept() ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
      },
      this);
}

bool AcceptSource::accept() {
  UniqueFd socket(::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
  if (socket) {
    accepted_(std::move(socket));
    return true;
  }
  if (!isShortOfDescriptors(errno)) return true;
  logAlways(LogError, "A connection waits: %s", std::strerror(errno));
  source_ = g_timeout_add(
      static_cast<guint>(acceptPause.count()),
      [](gpointer data) -> gboolean {
        static_cast<AcceptSource*>(data)->watch();
        return G_SOURCE_REMOVE;
      },
      this);
  return false;
}

}  // namespace Tessel::Platform
