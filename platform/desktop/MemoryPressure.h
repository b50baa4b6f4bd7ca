// Notices that the machine runs short of memory, by the kernel's pressure file. Main thread.
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

  // Calls the function when tasks have to wait for memory: by the kernel's own notice where it
  // gives one, else by looking at the file now and then, once until the pressure is over. Without
  // such a file nothing ever happens.
  explicit MemoryPressure(std::function<void()> onLow, std::string path = kernelFile,
                          unsigned pollEvery = pollMilliseconds);
  ~MemoryPressure();
  MemoryPressure(const MemoryPressure&) = delete;
  MemoryPressure& operator=(const MemoryPressure&) = delete;

  // The percentage of the last ten seconds in which some task waited; below 0 when the text is none
  // of such a file.
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
