// Device orientation and the rotation of the application. Main thread.
#include "platform/desktop/RotationService.h"

#include "platform/graphics/Screen.h"

#include <utility>

namespace Tessel::Platform {

namespace {

struct {
  const char* name;
  int degrees;
} constexpr orientations[] = {
    {"top_up", 0}, {"left_up", 90}, {"bottom_up", 180}, {"right_up", 270}};

}  // namespace

RotationService::RotationService(NavigatorHandler& handler) : handler_(handler) {
  handler_.addService(this);
}

RotationService::~RotationService() {
  handler_.removeService(this);
}

void RotationService::deviceTurned(const String& orientation) {
  held_ = orientation;
  if (!locked_) turn(orientation);
}

void RotationService::rotate(const String& orientation) {
  turn(orientation);
}

void RotationService::lockRotation() {
  locked_ = true;
}

void RotationService::lockRotation(const String& orientation) {
  locked_ = true;
  turn(orientation);
}

void RotationService::unlockRotation() {
  locked_ = false;
  turn(held_);
}

void RotationService::notifyRotateComplete() {
  const String turned = std::exchange(turning_, String());
  if (!turned.isEmpty()) handler_.onRotateDone(turned);
}

void RotationService::turn(const String& orientation) {
  if (orientation == shown_) return;
  for (const auto& [name, degrees] : orientations) {
    if (orientation != name) continue;
    const String text = String::fromSignedInteger(degrees);
    if (!handler_.onRotateCheck(orientation, text)) return;
    shown_ = turning_ = orientation;
    Graphics::Screen::primaryScreen().setRotation(degrees);
    handler_.onRotate(orientation, text);
    return;
  }
}

}  // namespace Tessel::Platform
