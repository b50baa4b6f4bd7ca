// Blanks and wakes the screen, and tells how long nobody has used it, by the X display's own means:
// power management (DPMS), screen saver, idle counter. Main thread.
#pragma once

#include "platform/desktop/NavigatorHandler.h"

#include <memory>

namespace Tessel::Platform {

class ScreenPower final : public NavigatorService {
 public:
  // Needs a started toolkit; the handler outlives the service.
  explicit ScreenPower(NavigatorHandler& handler);
  ~ScreenPower() override;

  // False, with an error report, where the display has no means of it.
  bool blankScreen() override;
  bool wakeScreen() override;
  // Milliseconds since the last input; -1, with an error report, where the display does not tell.
  int idleTime() override;
  // Raises onScreenBlank, onScreenWake, and, with a number above 0, onUserIdle after that many
  // seconds without input, and onUserActive. A negative number ends that. False, with an error
  // report, where the display does not tell.
  bool watchScreen(int idleSeconds) override;

 private:
  class Watch;

  NavigatorHandler& handler_;
  std::unique_ptr<Watch> watch_;  // while the chrome wants it
};

}  // namespace Tessel::Platform
