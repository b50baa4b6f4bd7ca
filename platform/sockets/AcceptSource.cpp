// A listening socket as a source of the default main context. Main thread.
#include "platform/sockets/AcceptSource.h"

#include "platform/base/Log.h"
#include "platform/sockets/Accept.h"

#include <cstring>
#include <utility>

namespace Tessel::Platform {

AcceptSource::AcceptSource(int listener, std::function<void(UniqueFd)> accepted,
                           const char* complaint)
    : listener_(listener), accepted_(std::move(accepted)), complaint_(complaint) {
  source_.watch(listener_, POLLIN, [this](short) { accept(); });
}

void AcceptSource::accept() {
  UniqueFd socket = acceptOne(listener_);
  if (socket) {
    isShort_ = false;
    return accepted_(std::move(socket));
  }
  // Everything else would keep the listener readable, and the loop would spin.
  if (errno == EAGAIN || errno == EINTR || errno == ECONNABORTED) return;
  if (!std::exchange(isShort_, true))
    logAlways(LogError, "%s: %s", complaint_, std::strerror(errno));
  source_.pause(acceptPause);
}

}  // namespace Tessel::Platform
