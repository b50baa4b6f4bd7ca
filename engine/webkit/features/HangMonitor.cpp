// Detects scripts of a page that do not end. Main thread.
#include "engine/webkit/features/HangMonitor.h"

#include "engine/webkit/base/PageContext.h"
#include "platform/base/Log.h"

#include <algorithm>

using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;

namespace {

// The ping interval in milliseconds is a quarter of the page's limit, within these.
constexpr int shortestInterval = 10;
constexpr int longestInterval = 1000;

}  // namespace

HangMonitor::HangMonitor(PageContext& page, WebKitWebView* view) : page_(page), view_(view) {
  limitChanged();
}

HangMonitor::~HangMonitor() {
  if (timer_ != 0) g_source_remove(timer_);
}

void HangMonitor::limitChanged() {
  if (timer_ != 0) g_source_remove(timer_);
  timer_ = 0;
  alive();
  limit_ = page_.client()->settings().javaScriptInterruptTimeout;
  // Waits for the page that drives the program have time limits of their own.
  if (limit_ < 1 || page_.drivesApplication()) return;
  interval_ = std::clamp(limit_ / 4, shortestInterval, longestInterval);
  timer_ = g_timeout_add(static_cast<guint>(interval_), onTick, this);
}

void HangMonitor::alive() {
  waited_ = 0;
  asked_ = stuck_ = false;
  // An answer to a ping from before the pause may arrive after the pause has begun.
  if (askedSincePause_) paused_ = false;
}

void HangMonitor::pause() {
  paused_ = true;
  askedSincePause_ = false;
}

std::shared_ptr<void> HangMonitor::pauseFor() {
  pause();
  return {this, [this, life = page_.viewLife()](void*) {
            if (!life.expired()) goOn();
          }};
}

void HangMonitor::goOn() {
  waited_ = 0;
  paused_ = false;
}

void HangMonitor::processEnded() {
  alive();
  goOn();
}

void HangMonitor::endProcess() {
  webkit_web_view_terminate_web_process(view_);
}

gboolean HangMonitor::onTick(gpointer data) {
  auto* self = static_cast<HangMonitor*>(data);
  const auto page = self->page_.shared_from_this();
  self->tick();
  return G_SOURCE_CONTINUE;
}

void HangMonitor::tick() {
  if (!asked_) {
    asked_ = askedSincePause_ = page_.askWhetherAlive();
    return;
  }
  if (paused_) return;
  waited_ += interval_;
  if (waited_ < limit_) return;
  // Reported again at the same interval for as long as it continues.
  waited_ = 0;
  if (!stuck_) {
    logAlways(LogError, "A script of %s has been running for %d ms and does not end.",
              page_.client()->pageState().location.utf8(), limit_);
  }
  stuck_ = true;
  page_.raise(OrvWebEvent::JavaScriptInterrupted);
}
