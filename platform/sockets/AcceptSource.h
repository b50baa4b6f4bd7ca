// Accepts connections on the default main context, and pauses when the process has no descriptor
// left for one. Main thread.
#pragma once

#include "platform/base/FdSource.h"
#include "platform/base/UniqueFd.h"

#include <functional>

namespace Tessel::Platform {

class AcceptSource {
 public:
  // Calls the function with each connection, non-blocking and close-on-exec. The listener, which
  // does not block, is not owned. The function must not destroy the source. The log has one line
  // for each time without descriptors, which begins with the complaint.
  AcceptSource(int listener, std::function<void(UniqueFd)> accepted,
               const char* complaint = "A connection waits");

 private:
  void accept();

  const int listener_;
  const std::function<void(UniqueFd)> accepted_;
  const char* const complaint_;
  FdSource source_;
  bool isShort_ = false;  // of descriptors, since it accepted last
};

}  // namespace Tessel::Platform
