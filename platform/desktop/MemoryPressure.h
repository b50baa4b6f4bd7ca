// Detects memory pressure by the kernel's pressure file. Main thread.
#pragma once

#include "platform/base/FdSource.h"
#include "platform/base/UniqueFd.h"

#include <functional>
#include <string>

namespace Tessel::Platform {

class MemoryPressure {
 public:
  static constexpr const char* kernelFile = "/proc/pressure/memory";
  static constexpr unsigned pollMilliseconds = 5000;

  // Calls the function when tasks stall on memory: by a kernel trigger if available, else by
  // polling the file; once per period of pressure. Without such a file it is never called.
  explicit MemoryPressure(std::function<void()> onLow, std::string path = kernelFile,
                          unsigned pollEvery = pollMilliseconds);
  ~MemoryPressure();
  MemoryPressure(const MemoryPressure&) = delete;
  MemoryPressure& operator=(const MemoryPressure&) = delete;

  // Percentage of the last ten seconds in which some task stalled; negative if the text is
  // malformed.
  static double shareOf(const std::string& text);

 private:
  bool askKernel();
  void look();

  const std::function<void()> onLow_;
  const std::string path_;
  UniqueFd trigger_;
  FdSource notice_;     // of the kernel
  unsigned timer_ = 0;  // where it gives none
  bool isLow_ = false;
};

}  // namespace Tessel::Platform
