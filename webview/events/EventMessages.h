// The two messages that carry web view events to the manager of the process with the chrome.
// Plain values; see Message for who owns them.
#pragma once

#include "platform/messages/IPCMessage.h"

// What both carry: which web view, what happened, and its data.
class WebEventMessage
    : public Tessel::Platform::IPCMessage3<unsigned int, Tessel::Platform::IPCSafeString,
                                           Tessel::Platform::IPCSafeString> {
 public:
  using String = Tessel::Platform::String;

  unsigned int handle() const { return field<0>(); }
  String name() const { return field<1>().toString(); }
  String data() const { return field<2>().toString(); }

 protected:
  using IPCMessage::IPCMessage;
};

class HandleOrvWebPostEventMessage final : public WebEventMessage {
 public:
  static constexpr int messageType = 1101;

  explicit HandleOrvWebPostEventMessage(int type) : WebEventMessage(type) {}
  HandleOrvWebPostEventMessage(unsigned int handle, String name, String data)
      : WebEventMessage(messageType, nullptr, handle, std::move(name), std::move(data)) {}
};

// The reply is the chrome's answer.
class HandleOrvWebSendEventMessage final : public WebEventMessage {
 public:
  static constexpr int messageType = 1102;
  using Reply = Tessel::Platform::TypedReplyBuffer<const char*>;

  explicit HandleOrvWebSendEventMessage(int type) : WebEventMessage(type) {}
  HandleOrvWebSendEventMessage(unsigned int handle, String name, String data, Reply* reply)
      : WebEventMessage(messageType, reply, handle, std::move(name), std::move(data)) {}

  void answer(const String& text) const {
    if (reply()) reply()->assign(text.utf8(), text.length() + 1);
  }
};
