// The brightness of the screen: the first backlight that the kernel has. Main thread.
#pragma once

#include "device/FileWatch.h"
#include "device/Members.h"
#include "platform/base/FdSource.h"
#include "platform/base/UniqueFd.h"

#include <functional>
#include <optional>
#include <string>

namespace Device {

class Brightness {
 public:
  using Changed = std::function<void(Values)>;

  // Below that root. Those that appear later are not seen.
  Brightness(const std::string& root, Changed changed);
  Brightness(const Brightness&) = delete;
  Brightness& operator=(const Brightness&) = delete;

  // The name of the backlight; empty if there is none.
  const std::string& name() const { return name_; }
  // The kernel's number for a percentage; 1 at least, as 0 may be dark.
  unsigned stepsFor(double percentage) const;

 private:
  void read();
  double number(const char* file) const;

  const Changed changed_;
  std::string name_;
  std::string folder_;
  double most_ = 0;
  Tessel::Platform::UniqueFd actual_;
  Tessel::Platform::FdSource source_;
  std::optional<FileWatch> watch_;
};

}  // namespace Device
