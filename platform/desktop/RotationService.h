// How the device is held, and the application turning along. Main thread.
#pragma once

#include "platform/desktop/NavigatorHandler.h"

namespace Tessel::Platform {

class RotationService final : public NavigatorService {
 public:
  explicit RotationService(NavigatorHandler& handler);
  ~RotationService() override;

  // The device was turned: top_up, left_up, bottom_up or right_up; other words are ignored. While
  // the rotation is locked it is only remembered.
  void deviceTurned(const String& orientation);

  // As if the device had been turned, also while the rotation is locked.
  void rotate(const String& orientation) override;
  void lockRotation() override;
  // Turns that way first.
  void lockRotation(const String& orientation) override;
  // Turns the way that the device is held by now.
  void unlockRotation() override;
  void notifyRotateComplete() override;

 private:
  void turn(const String& orientation);

  NavigatorHandler& handler_;
  String held_;
  String shown_ = "top_up";
  String turning_;  // until the chrome says that it has turned
  bool locked_ = false;
};

}  // namespace Tessel::Platform
