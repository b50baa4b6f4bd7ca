// Sends status notifications to the service manager.
#include "src/Watchdog.h"

#include "platform/base/Log.h"
#include "webview/WebView.h"

#include <glib.h>
#include <systemd/sd-daemon.h>

#include <chrono>

namespace {

// Notifications per watchdog interval: two may be missed.
constexpr unsigned int parts = 3;

}  // namespace

Watchdog::Watchdog(WebView& chrome) : chrome_(chrome) {
  // Sent from the main loop: READY means that the loop runs.
  g_idle_add(
      [](gpointer) -> gboolean {
        sd_notify(0, "READY=1");
        return G_SOURCE_REMOVE;
      },
      nullptr);
  uint64_t limit = 0;
  if (sd_watchdog_enabled(0, &limit) <= 0) return;
  limit_ = limit;
  timer_ = g_timeout_add(
      static_cast<guint>(limit / parts / 1000),
      [](gpointer self) -> gboolean {
        static_cast<Watchdog*>(self)->tick();
        return G_SOURCE_CONTINUE;
      },
      this);
}

Watchdog::~Watchdog() {
  if (timer_) g_source_remove(timer_);
  sd_notify(0, "STOPPING=1");
}

void Watchdog::tick() {
  if (chrome_.isAliveSince(std::chrono::microseconds(limit_))) {
    sd_notify(0, "WATCHDOG=1");
  } else {
    Tessel::Platform::logAlways(Tessel::Platform::LogError,
                                "The chrome does not answer: no watchdog notification is sent.");
  }
}
