// The time zone, and when the clock is set. Main thread.
#pragma once

#include "device/FileWatch.h"
#include "device/Members.h"
#include "platform/base/FdSource.h"
#include "platform/base/UniqueFd.h"

#include <functional>
#include <optional>
#include <string>

namespace Device {

class Clock {
 public:
  using Changed = std::function<void(Values)>;

  // The zone is that of etc/localtime below the root.
  Clock(std::string root, Changed changed);
  Clock(const Clock&) = delete;
  Clock& operator=(const Clock&) = delete;

 private:
  void read();
  // Wakes when the zone's time changes next, or the clock is set.
  void arm(long long turn);
  std::string zoneName() const;

  const std::string root_;
  const Changed changed_;
  long long setAt_ = 0;  // seconds since 1970; 0 for never
  Tessel::Platform::UniqueFd timer_;
  Tessel::Platform::FdSource source_;
  std::optional<FileWatch> watch_;
};

}  // namespace Device
