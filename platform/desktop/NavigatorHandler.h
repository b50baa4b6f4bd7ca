// Routes between the program and the platform: the window on the desktop, the device, other
// applications. Notifications go to the listeners, requests to the services. Main thread.
#pragma once

#include "platform/base/ListenerList.h"
#include "platform/desktop/Listeners.h"

#include <functional>
#include <vector>

namespace Tessel::Platform {

// Carries out requests; those that it does not override are left to other services.
class NavigatorService {
 public:
  virtual ~NavigatorService() = default;
#define REQUEST(name, Result, parameters, arguments) \
  virtual Result name parameters {                   \
    static_cast<void>(std::tie arguments);           \
    return Result();                                 \
  }
#include "platform/desktop/Requests.def"
};

// Calling a notification notifies every listener in registration order; a query returns true if any
// listener does. Calling a request asks every service; the first non-empty answer counts.
class NavigatorHandler final : public NavigatorListener {
 public:
  // Called for each request before it is carried out, with its arguments as texts.
  using Watcher = std::function<void(const char* name, const std::vector<String>& arguments)>;

  // Created on first use; never destroyed.
  static NavigatorHandler& instance();

  // Not owned.
  void addListener(NavigatorListener* listener) { listeners_.add(listener); }
  void removeListener(NavigatorListener* listener) { listeners_.remove(listener); }
  bool hasListeners() { return !listeners_.isEmpty(); }
  void addService(NavigatorService* service) { services_.add(service); }
  void removeService(NavigatorService* service) { services_.remove(service); }
  // Only one watcher; an empty function removes it.
  void setWatcher(Watcher watcher) { watcher_ = std::move(watcher); }

#define HANDLER_OPERATION(name, Result, parameters, arguments, text) \
  Result name parameters override;
#define APPLICATION_NOTIFICATION HANDLER_OPERATION
#define APPLICATION_QUERY HANDLER_OPERATION
#define INVOCATION_NOTIFICATION HANDLER_OPERATION
#include "platform/desktop/Notifications.def"
#undef HANDLER_OPERATION

#define REQUEST(name, Result, parameters, arguments) Result name parameters;
#include "platform/desktop/Requests.def"

 private:
  NavigatorHandler() = default;

  ListenerList<NavigatorListener> listeners_;
  ListenerList<NavigatorService> services_;
  Watcher watcher_;
};

}  // namespace Tessel::Platform
