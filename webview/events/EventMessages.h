// The two messages that carry web view events to the manager of the process with the chrome.
// Plain values; see Message for who owns them.
#pragma once

#include "platform/String.h"
#include "platform/messages/Message.h"

// What both carry: which web view, what happened, and its data.
class WebEventMessage : public Tessel::Platform::Message {
 public:
  using String = Tessel::Platform::String;

  unsigned int handle() const { return handle_; }
  const String& name() const { return name_; }
  const String& data() const { return data_; }

 protected:
  WebEventMessage(int type, Tessel::Platform::MessageReplyBuffer* reply, unsigned int handle,
                  String name, String data)
      : Message(type, reply), handle_(handle), name_(std::move(name)), data_(std::move(data)) {}

 private:
  unsigned int handle_;
  String name_;
  String data_;
};

class HandleOrvWebPostEventMessage final : public WebEventMessage {
 public:
  static constexpr int messageType = 1101;

  HandleOrvWebPostEventMessage(unsigned int handle, String name, String data)
      : WebEventMessage(messageType, nullptr, handle, std::move(name), std::move(data)) {}
};

// The reply is the chrome's answer.
class HandleOrvWebSendEventMessage final : public WebEventMessage {
 public:
  static constexpr int messageType = 1102;
  using Reply = Tessel::Platform::TypedReplyBuffer<std::string>;

  HandleOrvWebSendEventMessage(unsigned int handle, String name, String data, Reply* reply)
      : WebEventMessage(messageType, reply, handle, std::move(name), std::move(data)) {}

  void answer(const String& text) const { static_cast<Reply*>(reply())->set(text.toStdString()); }
};
