// Services of the system bus: device orientation, locale. Main thread.
#pragma once

#include "platform/desktop/RotationService.h"

#include <vector>

typedef struct _GDBusConnection GDBusConnection;
typedef struct _GCancellable GCancellable;
typedef struct _GVariant GVariant;

namespace Tessel::Platform {

class DeviceBus {
 public:
  // Connects to the system bus; a missing one reports nothing.
  explicit DeviceBus(RotationService& rotation);
  // With the given bus, which may be null.
  DeviceBus(RotationService& rotation, GDBusConnection* system);
  ~DeviceBus();
  DeviceBus(const DeviceBus&) = delete;
  DeviceBus& operator=(const DeviceBus&) = delete;

 private:
  struct Subscription {
    GDBusConnection* bus;
    unsigned id;
  };

  void useSystem(GDBusConnection* bus);
  void propertiesChanged(GVariant* changed);

  RotationService& rotation_;
  GDBusConnection* system_ = nullptr;  // referenced
  GCancellable* const cancellable_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace Tessel::Platform
