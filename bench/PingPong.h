// The floor of every round trip to another process: two processes that pass a packet back and
// forth over a SOCK_SEQPACKET pair with blocking calls, and do nothing else.
#pragma once

#include "platform/base/UniqueFd.h"

#include <sys/types.h>

#include <cstddef>
#include <string>

namespace bench {

class PingPong {
 public:
  // The other process runs on that processor and answers every packet with one of that size. Both
  // may poll before they receive, as code that waits for several descriptors does.
  PingPong(std::size_t answerSize, int processor, bool polls = false);
  ~PingPong();
  PingPong(const PingPong&) = delete;
  PingPong& operator=(const PingPong&) = delete;

  // One round trip of packets.
  void roundTrip(const std::string& packet);

 private:
  Tessel::Platform::UniqueFd socket_;
  pid_t peer_ = -1;
  const bool polls_;
  std::string answer_;
};

// Binds every thread of a process to one processor; false when the kernel refuses.
bool pin(pid_t process, int processor);

}  // namespace bench
