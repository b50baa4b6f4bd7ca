// Tells the service manager that the program has started, and that it goes on: its main loop turns
// and the chrome's process answers. Main thread.
#pragma once

class WebView;

// Works with whatever started the program and named itself in NOTIFY_SOCKET; how often it wants to
// hear is in WATCHDOG_USEC. Without these it does nothing.
class Watchdog {
 public:
  // Of the chrome, which outlives it.
  explicit Watchdog(WebView& chrome);
  // Tells that the program is about to end.
  ~Watchdog();
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

 private:
  void tick();

  WebView& chrome_;
  unsigned long long limit_ = 0;  // microseconds; 0 while nobody wants to hear
  unsigned int timer_ = 0;
};
