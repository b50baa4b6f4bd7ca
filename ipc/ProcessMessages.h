// Messages for process control, besides the web view commands. Plain values; see Message for
// ownership.
//
// The constructors from a type number are for the serialisers.
#pragma once

#include "platform/channel/IPCMessage.h"

#include <cstdint>

// Terminates the child. The reply acknowledges it.
class ShutdownMessage final : public Tessel::Platform::IPCMessage<> {
 public:
  static constexpr int messageType = 1000;
  using Reply = Tessel::Platform::TypedReplyBuffer<bool>;

  explicit ShutdownMessage(int type) : IPCMessage(type) {}
  explicit ShutdownMessage(Reply* reply) : IPCMessage(messageType, reply) {}
};

// The reply tells whether the web view was created.
class CreateWebViewMessage final
    : public Tessel::Platform::IPCMessage3<unsigned int, Tessel::Platform::IPCSafeString, int> {
 public:
  static constexpr int messageType = 1001;
  using Reply = Tessel::Platform::TypedReplyBuffer<bool>;

  explicit CreateWebViewMessage(int type) : IPCMessage(type) {}
  CreateWebViewMessage(unsigned int handle, const Tessel::Platform::String& windowGroup,
                       int rotation, Reply* reply)
      : IPCMessage(messageType, reply, handle, windowGroup, rotation) {}

  unsigned int handle() const { return field<0>(); }
  Tessel::Platform::String windowGroup() const { return field<1>().toString(); }
  int rotation() const { return field<2>(); }
};

// The reply tells whether the web view existed.
class DeleteWebViewMessage final : public Tessel::Platform::IPCMessage1<unsigned int> {
 public:
  static constexpr int messageType = 1002;
  using Reply = Tessel::Platform::TypedReplyBuffer<bool>;

  explicit DeleteWebViewMessage(int type) : IPCMessage(type) {}
  DeleteWebViewMessage(unsigned int handle, Reply* reply)
      : IPCMessage(messageType, reply, handle) {}

  unsigned int handle() const { return field<0>(); }
};

// Sets an environment variable of the child.
class SetEnvMessage final : public Tessel::Platform::IPCMessage2<Tessel::Platform::IPCSafeString,
                                                                 Tessel::Platform::IPCSafeString> {
 public:
  static constexpr int messageType = 1003;

  explicit SetEnvMessage(int type) : IPCMessage(type) {}
  SetEnvMessage(const Tessel::Platform::String& name, const Tessel::Platform::String& value)
      : IPCMessage(messageType, nullptr, name, value) {}

  Tessel::Platform::String name() const { return field<0>().toString(); }
  Tessel::Platform::String value() const { return field<1>().toString(); }
};

// Sets the capabilities of origins in a web view, in the format of Capabilities::read.
class SetCapabilitiesMessage final
    : public Tessel::Platform::IPCMessage2<unsigned int, Tessel::Platform::IPCSafeString> {
 public:
  static constexpr int messageType = 1004;

  explicit SetCapabilitiesMessage(int type) : IPCMessage(type) {}
  SetCapabilitiesMessage(unsigned int handle, const Tessel::Platform::String& text)
      : IPCMessage(messageType, nullptr, handle, text) {}

  unsigned int handle() const { return field<0>(); }
  Tessel::Platform::String text() const { return field<1>().toString(); }
};

// Cookie changes of one process; the main process forwards them to the others.
class CookieChangesMessage final
    : public Tessel::Platform::IPCMessage1<Tessel::Platform::IPCSafeString> {
 public:
  static constexpr int messageType = 1005;

  explicit CookieChangesMessage(int type) : IPCMessage(type) {}
  explicit CookieChangesMessage(const Tessel::Platform::String& changes)
      : IPCMessage(messageType, nullptr, changes) {}

  Tessel::Platform::String changes() const { return field<0>().toString(); }
};

// Asks about a web view; see ViewQuestion. The answer is a message with the same number.
class ViewQuestionMessage final
    : public Tessel::Platform::IPCMessage4<unsigned int, unsigned int, int,
                                           Tessel::Platform::IPCSafeString> {
 public:
  static constexpr int messageType = 1006;

  explicit ViewQuestionMessage(int type) : IPCMessage(type) {}
  ViewQuestionMessage(unsigned int number, unsigned int handle, int question,
                      const Tessel::Platform::String& script)
      : IPCMessage(messageType, nullptr, number, handle, question, script) {}

  unsigned int number() const { return field<0>(); }
  unsigned int handle() const { return field<1>(); }
  int question() const { return field<2>(); }
  Tessel::Platform::String script() const { return field<3>().toString(); }
};

class ViewAnswerMessage final
    : public Tessel::Platform::IPCMessage3<unsigned int, bool, Tessel::Platform::IPCSafeString> {
 public:
  static constexpr int messageType = 1007;

  explicit ViewAnswerMessage(int type) : IPCMessage(type) {}
  ViewAnswerMessage(unsigned int number, bool good, const Tessel::Platform::String& text)
      : IPCMessage(messageType, nullptr, number, good, text) {}

  unsigned int number() const { return field<0>(); }
  bool good() const { return field<1>(); }
  Tessel::Platform::String text() const { return field<2>().toString(); }
};

// A child's first message: its identity, its channel, and the key it was launched with.
class HandshakeMessage final
    : public Tessel::Platform::IPCMessage5<unsigned int, int, int, unsigned int, unsigned int> {
 public:
  static constexpr int messageType = 1100;

  explicit HandshakeMessage(int type) : IPCMessage(type) {}
  HandshakeMessage(unsigned int groupId, int pid, int channelId, std::uint64_t key)
      : IPCMessage(messageType, nullptr, groupId, pid, channelId,
                   static_cast<unsigned int>(key >> 32), static_cast<unsigned int>(key)) {}

  unsigned int groupId() const { return field<0>(); }
  int pid() const { return field<1>(); }
  int channelId() const { return field<2>(); }
  std::uint64_t key() const { return std::uint64_t{field<3>()} << 32 | field<4>(); }
};

static_assert(ShutdownMessage::Layout::size == 32 && HandshakeMessage::Layout::size == 52);
