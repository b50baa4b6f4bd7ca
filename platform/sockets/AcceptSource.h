// Accepts connections on the default main context, and pauses when the process runs out of
// descriptors. Main thread.
#pragma once

#include "platform/base/FdSource.h"
#include "platform/base/UniqueFd.h"

#include <functional>

namespace Tessel::Platform {

class AcceptSource {
 public:
  // Calls the function with each connection, non-blocking and close-on-exec. The listener must be
  // non-blocking and is not owned. The function must not destroy the source. Each period without
  // descriptors is logged once, in a line that begins with the complaint.
  AcceptSource(int listener, std::function<void(UniqueFd)> accepted,
               const char* complaint = "A connection waits");

 private:
  void accept();

  const int listener_;
  const std::function<void(UniqueFd)> accepted_;
  const char* const complaint_;
  FdSource source_;
  bool isShort_ = false;  // out of descriptors since the last accepted connection
};

}  // namespace Tessel::Platform
