// A file descriptor as a source of a GLib main context: calls a function when the descriptor is
// ready. The only place that creates such sources.
//
// The context's thread only, unless stated otherwise.
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
  int priority = 0;                  // a GLib priority: 0 is the default, higher numbers run later
  // Whether the function may be called again by a nested loop inside it.
  bool recurses = false;
  // The function is called once with 0 after this time; 0 for no timeout.
  std::chrono::milliseconds limit{};
};

class FdSource {
 public:
  // Receives the events from poll(2), including POLLHUP and POLLERR; 0 for `atOnce` or a timeout.
  // May stop or destroy the source and its owner: the captures live until the function returns.
  using Ready = std::function<void(short found)>;
  // Returns the events to wait for: events of poll(2), `atOnce` not to wait at all, or 0 for none,
  // not even POLLHUP. Called before and after each poll. After a change from another thread, wake
  // the context.
  using Interest = std::function<short()>;
  static constexpr short atOnce = -1;

  FdSource() = default;
  ~FdSource() { stop(); }
  FdSource(const FdSource&) = delete;
  FdSource& operator=(const FdSource&) = delete;

  // Watches the descriptor, replacing a previous one. It is not owned and must stay open until the
  // source stops. Any thread.
  void watch(int fd, short events, Ready ready, const FdSourceOptions& options = {});
  void watch(int fd, Interest interest, Ready ready, const FdSourceOptions& options = {});
  // Stops polling for that time and then calls the function unconditionally.
  void pause(std::chrono::milliseconds time);
  // The function is not called any more.
  void stop();
  explicit operator bool() const { return source_ != nullptr; }
  // No-op if nothing is watched.
  void setPriority(int priority);

 private:
  _GSource* source_ = nullptr;
};

}  // namespace Tessel::Platform
