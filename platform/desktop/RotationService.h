// Device orientation and the rotation of the application. Main thread.
#pragma once

#include "platform/desktop/NavigatorHandler.h"

namespace Tessel::Platform {

class RotationService final : public NavigatorService {
 public:
  explicit RotationService(NavigatorHandler& handler);
  ~RotationService() override;

  // The device was turned: top_up, left_up, bottom_up or right_up; other values are ignored. While
  // the rotation is locked, it is only stored.
  void deviceTurned(const String& orientation);

  // Rotates as if the device had been turned, even while the rotation is locked.
  void rotate(const String& orientation) override;
  void lockRotation() override;
  // Rotates that way first.
  void lockRotation(const String& orientation) override;
  // Rotates to the current orientation of the device.
  void unlockRotation() override;
  void notifyRotateComplete() override;

 private:
  void turn(const String& orientation);

  NavigatorHandler& handler_;
  String held_;
  String shown_ = "top_up";
  String turning_;  // until the chrome confirms the rotation
  bool locked_ = false;
};

}  // namespace Tessel::Platform
