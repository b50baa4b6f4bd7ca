// The source of message type numbers, and what messages are called. Any thread.
#include "platform/channel/Message.h"

#include <atomic>

namespace Tessel::Platform {

int Message::generateUniqueMessageType() {
  static std::atomic<int> next = 0x10000;
  return next++;
}

String Message::description() const {
  return concat("a message of type ", String::fromSignedInteger(type_));
}

}  // namespace Tessel::Platform
