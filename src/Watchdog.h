// Sends status notifications to the service manager: the program has started, its main loop runs
// and the chrome's process answers. Main thread.
#pragma once

#include <string>

class WebView;

// What the service manager has put into the environment.
struct ServiceManager {
  std::string socket;            // where it listens: a path, or an abstract name behind "@"
  unsigned long long limit = 0;  // microseconds between signs of life; 0 for none wanted

  // Takes it out of the environment if the program was started with --watchdog, and out of that of
  // all processes that are forked from now on: none of them speaks for the service. Empty
  // otherwise. Before any other process and thread is started.
  static ServiceManager take();
  void tell(const char* state) const;
};

class Watchdog {
 public:
  // Of the chrome, which outlives it. Does nothing without a service manager.
  Watchdog(ServiceManager manager, WebView& chrome);
  // Announces the end of the program.
  ~Watchdog();
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

 private:
  void tick();

  const ServiceManager manager_;
  WebView& chrome_;
  unsigned int started_ = 0;
  unsigned int timer_ = 0;
};
