// The services that connect the application with the desktop and the device. Main thread.
#pragma once

#include "platform/desktop/DeviceBus.h"
#include "platform/desktop/MemoryPressure.h"
#include "platform/desktop/RotationService.h"
#include "platform/desktop/SessionService.h"
#include "platform/desktop/WindowService.h"
#include "platform/desktop/gtk/ScreenPower.h"
#include "platform/invocation/InvocationService.h"

class ApplicationWindow;

class NavigatorServices {
 public:
  // The window must outlive it. Needs a started toolkit.
  explicit NavigatorServices(ApplicationWindow& window);
  ~NavigatorServices();
  NavigatorServices(const NavigatorServices&) = delete;
  NavigatorServices& operator=(const NavigatorServices&) = delete;

 private:
  Tessel::Platform::NavigatorHandler& handler_ = Tessel::Platform::NavigatorHandler::instance();
  ApplicationWindow& window_;
  Tessel::Platform::WindowService windowService_;
  Tessel::Platform::RotationService rotation_{handler_};
  Tessel::Platform::DeviceBus device_{rotation_};
  Tessel::Platform::SessionService session_{
      handler_, [this](bool active) { windowService_.seatChanged(active); }};
  Tessel::Platform::InvocationService invocation_{handler_};
  Tessel::Platform::ScreenPower screen_{handler_};
  Tessel::Platform::MemoryPressure memory_{[this] { handler_.onLowMemory(); }};
};
