// The brightness of the screen: the first backlight that the kernel has. Main thread.
#pragma once

#include "device/Members.h"
#include "platform/base/FdSource.h"
#include "platform/base/UniqueFd.h"
#include "platform/pps/PPSWatcher.h"

#include <functional>
#include <memory>
#include <string>

namespace Device {

class Brightness {
 public:
  using Changed = std::function<void(Values)>;

  // Below that root. Those that appear later are not seen.
  Brightness(const std::string& root, Changed changed);
  ~Brightness();
  Brightness(const Brightness&) = delete;
  Brightness& operator=(const Brightness&) = delete;

  // The name of the backlight; empty if there is none.
  const std::string& name() const { return name_; }
  // The kernel's number for a percentage; 1 at least, as 0 may be dark.
  unsigned stepsFor(double percentage) const;
  void read();

 private:
  double number(const char* file) const;

  const Changed changed_;
  std::string name_;
  std::string folder_;
  double most_ = 0;
  Tessel::Platform::UniqueFd actual_;
  Tessel::Platform::FdSource source_;
  std::shared_ptr<Tessel::Platform::PPSWatcher> watcher_;
  int watch_ = -1;
};

}  // namespace Device
