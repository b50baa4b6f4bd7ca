// The user's session: whether it is locked, whether its seat shows it, and the end of the system.
// Main thread.
#pragma once

#include "platform/base/UniqueFd.h"
#include "platform/bus/BusMirror.h"
#include "platform/desktop/NavigatorHandler.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

typedef struct _GCancellable GCancellable;
typedef struct _GAsyncResult GAsyncResult;

namespace Tessel::Platform {

class SessionService final : public NavigatorService {
 public:
  // Whether the seat shows the session.
  using ActiveChanged = std::function<void(bool active)>;

  // Connects to both buses; a missing one, or one without the services, reports nothing.
  SessionService(NavigatorHandler& handler, ActiveChanged activeChanged);
  // With the given buses, either of which may be null.
  SessionService(NavigatorHandler& handler, ActiveChanged activeChanged, GDBusConnection* session,
                 GDBusConnection* system);
  ~SessionService() override;

  // onIsDeviceLocked follows asynchronously: true, false, or unknown where nobody can tell.
  void isDeviceLocked() override;
  // From now on the system, before it ends, waits for the end of this process, within its own
  // limit.
  void extendTerminate() override;

 private:
  // A lock screen of the session's bus.
  struct LockScreen {
    std::unique_ptr<BusMirror> service;
    std::optional<bool> locked;
    bool isAsked = false;
    bool hasToldSince = false;
  };

  static void gotBus(GAsyncResult* result, void* self,
                     void (SessionService::*use)(GDBusConnection*));
  void useSession(GDBusConnection* bus);
  void useSystem(GDBusConnection* bus);
  void lockScreenChanged(std::size_t index);
  void loginChanged();
  void lockSignal(const std::string& path, bool locked);
  void endSignal(bool ends);
  void update();
  void answerLater();
  void delayEnd();
  bool isKnown() const;

  NavigatorHandler& handler_;
  const ActiveChanged activeChanged_;
  GCancellable* const cancellable_;
  int busesAwaited_ = 0;
  std::vector<LockScreen> lockScreens_;
  GDBusConnection* system_ = nullptr;  // referenced
  std::unique_ptr<BusMirror> login_;
  std::string ownSession_;  // its path in signals
  bool isAskingForSession_ = false;
  std::optional<bool> hint_;    // what logind knows
  std::optional<bool> signal_;  // the latest Lock or Unlock, where there is no lock screen
  bool locked_ = false;
  bool active_ = true;
  bool isAnswerOwed_ = false;
  unsigned answering_ = 0;
  bool isExtended_ = false;  // as the chrome has asked for
  bool isAskingForDelay_ = false;
  UniqueFd delay_;  // while it is open, the system waits
};

}  // namespace Tessel::Platform
