// The log devices, "/dev/slog2/NAME": for each user, files below the run-time folder. Any thread.
#pragma once

#include <string>

namespace Tessel::Platform {

// The file that stands for the device, there to be opened for writing: each user and process name
// of the program appends to the same one, and one of more than a mebibyte begins anew, its
// predecessor kept as NAME.old. The device's own name when there can be no such file.
std::string logDevice(const std::string& name);

}  // namespace Tessel::Platform
