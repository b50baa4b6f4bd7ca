// The way to the channels of other processes, as message clients see it.
#pragma once

#include "platform/channel/Message.h"

#include <memory>

namespace Tessel::Platform {

class MessageTransport {
 public:
  virtual ~MessageTransport() = default;
  // Sends the message. With a reply buffer it returns when the reply is in there, or when none
  // will come any more; without one, at once. Threads that may call it: those of its callers.
  virtual void send(std::unique_ptr<Message> message, int channelId) = 0;
};

}  // namespace Tessel::Platform
