// The options and the configuration of pagehost-device. Main thread.
#pragma once

#include "device/DeviceObjects.h"

#include <string>

namespace Device {

struct Options {
  Permissions allowed;
  std::string root;  // of /sys and /etc
};

// Exits with status 2 and a line on standard error if an option or a configuration file is wrong.
Options takeOptions(int argc, char** argv);

}  // namespace Device
