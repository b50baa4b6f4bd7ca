// Accepts connections on the default main context, and pauses when the process has no descriptor
// left for one. Main thread.
#pragma once

#include "platform/base/UniqueFd.h"

#include <functional>

namespace Tessel::Platform {

class AcceptSource {
 public:
  // Calls the function with each connection, non-blocking and close-on-exec. The listener, which
  // does not block, is not owned. The function must not destroy the source.
  AcceptSource(int listener, std::function<void(UniqueFd)> accepted);
  ~AcceptSource();
  AcceptSource(const AcceptSource&) = delete;
  AcceptSource& operator=(const AcceptSource&) = delete;

 private:
  void watch();
  // False when it pauses from now on.
  bool accept();

  const int listener_;
  const std::function<void(UniqueFd)> accepted_;
  unsigned int source_ = 0;
};

}  // namespace Tessel::Platform
