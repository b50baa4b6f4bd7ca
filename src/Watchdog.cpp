// Sends status notifications to the service manager, as systemd's sd_notify(3) describes them. Not
// by its library, which wants the address to stay in the environment.
#include "src/Watchdog.h"

#include "platform/base/Log.h"
#include "platform/base/UniqueFd.h"
#include "src/ProgramOptions.h"
#include "webview/WebView.h"

#include <glib.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <utility>

using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;

namespace {

// Notifications per watchdog interval: two may be missed.
constexpr unsigned int parts = 3;

}  // namespace

ServiceManager ServiceManager::take() {
  if (!isSwitchedOn(watchdogVariable)) return {};
  const char* socket = std::getenv("NOTIFY_SOCKET");
  const char* limit = std::getenv("WATCHDOG_USEC");
  ServiceManager manager{socket ? socket : "", limit ? std::strtoull(limit, nullptr, 10) : 0};
  // WATCHDOG_PID may be that of what has started the program, such as an X server's starter.
  for (const char* name : {"NOTIFY_SOCKET", "WATCHDOG_USEC", "WATCHDOG_PID", watchdogVariable}) {
    ::unsetenv(name);
  }
  return manager;
}

void ServiceManager::tell(const char* state) const {
  sockaddr_un address{};
  if (socket.empty() || socket.size() >= sizeof address.sun_path) return;
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, socket.data(), socket.size());
  if (address.sun_path[0] == '@') address.sun_path[0] = '\0';
  const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + socket.size());
  const Tessel::Platform::UniqueFd sender(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  if (::sendto(sender.get(), state, std::strlen(state), MSG_NOSIGNAL | MSG_DONTWAIT,
               reinterpret_cast<const sockaddr*>(&address), size) < 0) {
    logAlways(LogError, "The service manager does not hear \"%s\": %s", state,
              std::strerror(errno));
  }
}

Watchdog::Watchdog(ServiceManager manager, WebView& chrome)
    : manager_(std::move(manager)), chrome_(chrome) {
  if (manager_.socket.empty()) return;
  // Sent from the main loop: READY means that the loop runs.
  started_ = g_idle_add(
      [](gpointer data) -> gboolean {
        auto* self = static_cast<Watchdog*>(data);
        self->started_ = 0;
        self->manager_.tell("READY=1");
        return G_SOURCE_REMOVE;
      },
      this);
  if (manager_.limit == 0) return;
  timer_ = g_timeout_add(
      static_cast<guint>(manager_.limit / parts / 1000),
      [](gpointer self) -> gboolean {
        static_cast<Watchdog*>(self)->tick();
        return G_SOURCE_CONTINUE;
      },
      this);
}

Watchdog::~Watchdog() {
  if (started_) g_source_remove(started_);
  if (timer_) g_source_remove(timer_);
  manager_.tell("STOPPING=1");
}

void Watchdog::tick() {
  if (chrome_.isAliveSince(std::chrono::microseconds(manager_.limit))) {
    manager_.tell("WATCHDOG=1");
  } else {
    logAlways(LogError, "The chrome does not answer: no watchdog notification is sent.");
  }
}
