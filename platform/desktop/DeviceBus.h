// Services of the session and system bus: screen lock, device orientation, locale. Main thread.
#pragma once

#include "platform/desktop/NavigatorHandler.h"
#include "platform/desktop/RotationService.h"

#include <vector>

typedef struct _GDBusConnection GDBusConnection;
typedef struct _GCancellable GCancellable;
typedef struct _GVariant GVariant;

namespace Tessel::Platform {

class DeviceBus final : public NavigatorService {
 public:
  // Connects to both buses; a missing one reports nothing.
  DeviceBus(NavigatorHandler& handler, RotationService& rotation);
  // With the given buses, either of which may be null.
  DeviceBus(NavigatorHandler& handler, RotationService& rotation, GDBusConnection* session,
            GDBusConnection* system);
  ~DeviceBus() override;

  // onIsDeviceLocked follows asynchronously: true, false, or unknown.
  void isDeviceLocked() override;

 private:
  struct Subscription {
    GDBusConnection* bus;
    unsigned id;
  };

  void useSession(GDBusConnection* bus);
  void useSystem(GDBusConnection* bus);
  void lockChanged(bool locked);
  void propertiesChanged(GVariant* changed);
  void answerLocked(const char* answer);

  NavigatorHandler& handler_;
  RotationService& rotation_;
  GDBusConnection* session_ = nullptr;  // referenced
  GDBusConnection* system_ = nullptr;   // referenced
  GCancellable* const cancellable_;
  std::vector<Subscription> subscriptions_;
  bool locked_ = false;
  unsigned unknown_ = 0;  // answers when there is no service
};

}  // namespace Tessel::Platform
