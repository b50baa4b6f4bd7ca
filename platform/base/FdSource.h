// A descriptor as a source of a GLib main context: a function is called when there is something to
// do with it. The one place that knows how such sources are made.
//
// One thread, the context's, but for what is said to be for any.
#pragma once

#include <poll.h>

#include <chrono>
#include <functional>

struct _GMainContext;
struct _GSource;

namespace Tessel::Platform {

struct FdSourceOptions {
  const char* name = "descriptor";   // for debuggers; static
  _GMainContext* context = nullptr;  // null for the default one
  int priority = 0;                  // that of GLib: 0 is its default, higher numbers come later
  // Whether the function is called again by a loop that runs inside of it.
  bool recurses = false;
  // After so long the function is called with 0 found, once; never without one.
  std::chrono::milliseconds limit{};
};

class FdSource {
 public:
  // Gets what poll(2) has found, POLLHUP and POLLERR included; 0 when it was `atOnce`, or when a
  // time was over. May stop the source, and destroy it and all that it belongs to: what it has
  // captured lives until it returns.
  using Ready = std::function<void(short found)>;
  // What is waited for: events of poll(2), `atOnce` not to wait at all, or 0 for nothing at
  // present, not even the other end's going. Asked before each poll and after it. Whoever changes
  // it from another thread wakes the context.
  using Interest = std::function<short()>;
  static constexpr short atOnce = -1;

  FdSource() = default;
  ~FdSource() { stop(); }
  FdSource(const FdSource&) = delete;
  FdSource& operator=(const FdSource&) = delete;

  // Watches the descriptor, which is not owned and must stay open until this stops, in place of
  // what was watched before. Any thread.
  void watch(int fd, short events, Ready ready, const FdSourceOptions& options = {});
  void watch(int fd, Interest interest, Ready ready, const FdSourceOptions& options = {});
  // Waits for nothing for so long, and then calls the function in any case.
  void pause(std::chrono::milliseconds time);
  // Nothing is called any more.
  void stop();
  explicit operator bool() const { return source_ != nullptr; }
  // Does nothing when there is no source.
  void setPriority(int priority);

 private:
  _GSource* source_ = nullptr;
};

}  // namespace Tessel::Platform
