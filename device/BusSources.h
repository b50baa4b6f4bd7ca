// What is read from services of the system bus: for each object where it is, what its properties
// mean, and how a member is set. Main thread.
#pragma once

#include "device/Members.h"
#include "platform/bus/BusMirror.h"

#include <span>
#include <string>
#include <vector>

namespace Device {

struct BusSource {
  Object object;
  const char* service;
  // An ObjectManager and the interfaces of its objects that count, or null.
  const char* manager;
  std::vector<std::string> managed;
  // What else is followed, by what is known so far; null for nothing.
  std::vector<Tessel::Platform::BusMirror::Followed> (*followed)(
      const Tessel::Platform::BusMirror&);
  Values (*read)(const Tessel::Platform::BusMirror&);
  // Sets a member to a value of its kind; null if none can be.
  void (*set)(Tessel::Platform::BusMirror&, Member, const Tessel::Platform::String& value);
};

std::span<const BusSource> busSources();

// Has logind set a backlight of the session that is on show, in the kernel's steps.
void setBacklight(Tessel::Platform::BusMirror& login, const std::string& name, unsigned steps);

}  // namespace Device
