// The time zone, and when the clock is set. Main thread.
#pragma once

#include "device/Members.h"
#include "platform/base/FdSource.h"
#include "platform/base/UniqueFd.h"
#include "platform/pps/PPSWatcher.h"

#include <functional>
#include <memory>
#include <string>

namespace Device {

class Clock {
 public:
  using Changed = std::function<void(Values)>;

  // The zone is that of etc/localtime below the root.
  Clock(std::string root, Changed changed);
  ~Clock();
  Clock(const Clock&) = delete;
  Clock& operator=(const Clock&) = delete;

 private:
  void read();
  void arm();
  std::string zoneName() const;

  const std::string root_;
  const Changed changed_;
  long long setAt_ = 0;  // seconds since 1970; 0 for never
  long long turn_ = 0;   // when the zone's time changes next
  Tessel::Platform::UniqueFd timer_;
  Tessel::Platform::FdSource source_;
  std::shared_ptr<Tessel::Platform::PPSWatcher> watcher_;
  int watch_ = -1;
};

}  // namespace Device
