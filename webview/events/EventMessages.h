// Messages that carry web view events and errors of a child to the process with the chrome.
// Plain values; see Message for ownership.
#pragma once

#include "platform/channel/IPCMessage.h"
#include "webview/events/EventType.h"

#include <optional>
#include <utility>

// What both carry: which web view, what happened, and its data. The event crosses as its name.
class WebEventMessage
    : public Tessel::Platform::IPCMessage3<unsigned int, Tessel::Platform::IPCSafeString,
                                           Tessel::Platform::IPCSafeString> {
 public:
  using String = Tessel::Platform::String;

  unsigned int handle() const { return field<0>(); }
  // None for an unknown name: the sender is not trusted.
  std::optional<EventType> event() const { return eventTypeFromName(name().view()); }
  String data() const { return field<2>().toString(); }
  String description() const override {
    return Tessel::Platform::concat("event \"", name(), "\" of web view ",
                                    String::fromUnsignedInteger(handle()));
  }

 protected:
  explicit WebEventMessage(int type) : IPCMessage(type) {}
  WebEventMessage(int type, Tessel::Platform::MessageReplyBuffer* reply, unsigned int handle,
                  EventType event, String data)
      : IPCMessage(type, reply, handle, nameOf(event), std::move(data)) {}

 private:
  String name() const { return field<1>().toString(); }
};

class HandleOrvWebPostEventMessage final : public WebEventMessage {
 public:
  static constexpr int messageType = 1101;

  explicit HandleOrvWebPostEventMessage(int type) : WebEventMessage(type) {}
  HandleOrvWebPostEventMessage(unsigned int handle, EventType event, String data)
      : WebEventMessage(messageType, nullptr, handle, event, std::move(data)) {}
};

// The reply is the chrome's answer.
class HandleOrvWebSendEventMessage final : public WebEventMessage {
 public:
  static constexpr int messageType = 1102;
  using Reply = Tessel::Platform::TypedReplyBuffer<const char*>;

  explicit HandleOrvWebSendEventMessage(int type) : WebEventMessage(type) {}
  HandleOrvWebSendEventMessage(unsigned int handle, EventType event, String data, Reply* reply)
      : WebEventMessage(messageType, reply, handle, event, std::move(data)) {}

  void answer(const String& text) const {
    if (reply()) reply()->assign(text.utf8(), text.length() + 1);
  }
};

// An error raised in a process without a chrome.
class ErrorMessage final : public Tessel::Platform::IPCMessage1<Tessel::Platform::IPCSafeString> {
 public:
  static constexpr int messageType = 1103;

  explicit ErrorMessage(int type) : IPCMessage(type) {}
  explicit ErrorMessage(Tessel::Platform::String text)
      : IPCMessage(messageType, nullptr, std::move(text)) {}

  Tessel::Platform::String text() const { return field<0>().toString(); }
};
