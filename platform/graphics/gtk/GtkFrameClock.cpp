// Frame clock of a top-level window. UI thread.
#include "platform/graphics/gtk/GtkFrameClock.h"

#include <gtk/gtk.h>

#include <algorithm>

namespace Tessel::Platform::Graphics {

namespace {

// A window that has not been painted for this long may be hidden.
constexpr guint patienceMilliseconds = 50;
constexpr gint64 patience = gint64{patienceMilliseconds} * 1000;

}  // namespace

GtkFrameClock::~GtkFrameClock() {
  stop();
}

void GtkFrameClock::follow(GtkWidget* topLevel) {
  endTicks();
  topLevel_ = topLevel;
  if (listener_) beginTicks();
}

void GtkFrameClock::start(FrameListener& listener) {
  stop();
  listener_ = &listener;
  last_ = 0;
  beginTicks();
  const auto late = [](gpointer data) -> gboolean {
    auto* self = static_cast<GtkFrameClock*>(data);
    const gint64 now = g_get_monotonic_time();
    if (now - self->last_ >= patience) self->frame(now);
    return G_SOURCE_CONTINUE;
  };
  timer_ = g_timeout_add(patienceMilliseconds, late, this);
}

void GtkFrameClock::stop() {
  endTicks();
  if (timer_ != 0) g_source_remove(timer_);
  timer_ = 0;
  listener_ = nullptr;
}

void GtkFrameClock::beginTicks() {
  if (!topLevel_) return;
  const auto tick = [](GtkWidget*, GdkFrameClock* clock, gpointer data) -> gboolean {
    static_cast<GtkFrameClock*>(data)->frame(gdk_frame_clock_get_frame_time(clock));
    return G_SOURCE_CONTINUE;
  };
  tick_ = gtk_widget_add_tick_callback(topLevel_, tick, this, nullptr);
}

void GtkFrameClock::endTicks() {
  if (tick_ != 0) gtk_widget_remove_tick_callback(topLevel_, tick_);
  tick_ = 0;
}

// Both use the same clock; a frame's time may be slightly in the past.
void GtkFrameClock::frame(long long time) {
  last_ = std::max(last_, time);
  if (listener_) listener_->frame(std::chrono::microseconds(last_));
}

}  // namespace Tessel::Platform::Graphics
