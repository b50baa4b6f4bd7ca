// A file descriptor as a source of a GLib main context. The context's thread, except for watch().
#include "platform/base/FdSource.h"

#include <glib.h>

#include <atomic>
#include <utility>

namespace Tessel::Platform {

namespace {

struct Watch {
  GPollFD descriptor;
  FdSource::Interest interest;
  FdSource::Ready ready;
  bool isPolled = false;
  bool isPaused = false;

  short wanted() const { return isPaused ? short{0} : interest(); }
};

struct Source {
  GSource base;
  Watch* watch;
};

Watch& watchOf(GSource* source) {
  return *reinterpret_cast<Source*>(source)->watch;
}

// Makes the creation of a source happen before its use on the context's thread, for thread
// sanitizers, which do not see the context's own lock.
std::atomic<unsigned int> sourcesMade = 0;

void callAfter(GSource* source, std::chrono::milliseconds time) {
  g_source_set_ready_time(source, g_get_monotonic_time() + std::chrono::microseconds(time).count());
}

gboolean prepare(GSource* source, gint* timeout) {
  sourcesMade.load(std::memory_order_acquire);
  *timeout = -1;
  Watch& watch = watchOf(source);
  const short wanted = watch.wanted();
  watch.descriptor.events = static_cast<gushort>(wanted == FdSource::atOnce ? 0 : wanted);
  watch.descriptor.revents = 0;
  // Without interest the descriptor is not polled at all: a POLLHUP would be reported repeatedly.
  const bool isWanted = wanted != 0;
  if (std::exchange(watch.isPolled, isWanted) != isWanted) {
    (isWanted ? g_source_add_poll : g_source_remove_poll)(source, &watch.descriptor);
  }
  return wanted == FdSource::atOnce;
}

gboolean check(GSource* source) {
  const Watch& watch = watchOf(source);
  const short wanted = watch.wanted();
  return wanted == FdSource::atOnce || (wanted != 0 && watch.descriptor.revents != 0);
}

gboolean dispatch(GSource* source, GSourceFunc, gpointer) {
  Watch& watch = watchOf(source);
  const gint64 time = g_source_get_ready_time(source);
  const bool isOver = time >= 0 && time <= g_source_get_time(source);
  if (isOver) {
    g_source_set_ready_time(source, -1);
    watch.isPaused = false;
  }
  const auto found = static_cast<short>(watch.descriptor.revents);
  // Events are delivered before a timeout, and do not suppress it.
  if (found != 0 || !isOver) watch.ready(found);
  if (isOver && !g_source_is_destroyed(source)) watch.ready(0);
  return G_SOURCE_CONTINUE;
}

void finalize(GSource* source) {
  delete &watchOf(source);
}

}  // namespace

void FdSource::watch(int fd, Interest interest, Ready ready, const FdSourceOptions& options) {
  static GSourceFuncs functions = {prepare, check, dispatch, finalize, nullptr, nullptr};
  stop();
  source_ = g_source_new(&functions, sizeof(Source));
  reinterpret_cast<Source*>(source_)->watch =
      new Watch{{fd, 0, 0}, std::move(interest), std::move(ready)};
  g_source_set_static_name(source_, options.name);
  g_source_set_priority(source_, options.priority);
  g_source_set_can_recurse(source_, options.recurses ? TRUE : FALSE);
  if (options.limit.count() > 0) callAfter(source_, options.limit);
  sourcesMade.fetch_add(1, std::memory_order_release);
  g_source_attach(source_, options.context);
}

void FdSource::watch(int fd, short events, Ready ready, const FdSourceOptions& options) {
  watch(
      fd, [events] { return events; }, std::move(ready), options);
}

void FdSource::pause(std::chrono::milliseconds time) {
  if (!source_) return;
  watchOf(source_).isPaused = true;
  callAfter(source_, time);
}

void FdSource::stop() {
  GSource* const source = std::exchange(source_, nullptr);
  if (!source) return;
  g_source_destroy(source);
  g_source_unref(source);
}

void FdSource::setPriority(int priority) {
  if (source_ && g_source_get_priority(source_) != priority) {
    g_source_set_priority(source_, priority);
  }
}

}  // namespace Tessel::Platform
