// The source of message type numbers. Any thread.
#include "platform/messages/Message.h"

#include <atomic>

namespace Tessel::Platform {

int Message::generateUniqueMessageType() {
  static std::atomic<int> next = 0x10000;
  return next++;
}

}  // namespace Tessel::Platform
