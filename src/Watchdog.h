// Notifies the service manager that the program has started and, periodically, that it is alive:
// the main loop runs and the chrome's process responds. Main thread.
#pragma once

class WebView;

// Works with any supervisor that sets NOTIFY_SOCKET and, for the interval, WATCHDOG_USEC. Without
// these it does nothing.
class Watchdog {
 public:
  // The chrome must outlive this object.
  explicit Watchdog(WebView& chrome);
  // Sends STOPPING=1.
  ~Watchdog();
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

 private:
  void tick();

  WebView& chrome_;
  unsigned long long limit_ = 0;  // microseconds; 0 if the watchdog is disabled
  unsigned int timer_ = 0;
};
