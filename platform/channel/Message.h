// What message clients carry: plain messages with a type number, and executable ones that run
// when they are delivered.
#pragma once

#include "platform/channel/MessageReplyBuffer.h"

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <utility>

namespace Tessel::Platform {

// A message is created by one thread, and its ownership is passed on; no references are kept.
class Message {
 public:
  // The reply buffer, which may be null, is the sender's and stays in its stack frame: a message
  // with one is delivered before the call that sends it returns.
  explicit Message(int type, MessageReplyBuffer* reply = nullptr) : type_(type), reply_(reply) {}
  virtual ~Message() = default;
  Message(const Message&) = delete;
  Message& operator=(const Message&) = delete;

  int type() const { return type_; }
  // Whether the platform itself says this (see Pulse).
  virtual bool isPulse() const { return false; }
  MessageReplyBuffer* reply() const { return reply_; }
  // Where the receiver of a message from another process puts the reply.
  void setReply(MessageReplyBuffer* reply) { reply_ = reply; }

  // The sender's pid, from the kernel, for messages from other processes; 0 within a process.
  pid_t senderPid() const { return senderPid_; }
  void setSenderPid(pid_t pid) { senderPid_ = pid; }
  // A number that travels in the header; events hand it on to the chrome. 0 unless set.
  int integer() const { return integer_; }
  void setInteger(int integer) { integer_ = integer; }
  // Matches a reply from another process to the waiting sender; 0 for no reply.
  std::uint64_t replyId() const { return replyId_; }
  void setReplyId(std::uint64_t id) { replyId_ = id; }

  // What it is, for errors about it.
  virtual String description() const;

  // A number that no other caller in this process gets. They start at 0x10000, above every
  // number with a fixed meaning. Any thread.
  static int generateUniqueMessageType();

 private:
  int type_;
  MessageReplyBuffer* reply_;
  pid_t senderPid_ = 0;
  int integer_ = 0;
  std::uint64_t replyId_ = 0;
};

// What the platform tells the handlers of a client; the integer is its value.
class Pulse final : public Message {
 public:
  // A connection of this process has died; the value is its number.
  static constexpr int connectionDied = 2;
  // A sender that waited for a reply is gone; the value is the message's reply id.
  static constexpr int unblock = 3;

  Pulse(int type, int value) : Message(type) { setInteger(value); }
  bool isPulse() const override { return true; }
  int value() const { return integer(); }
};

// Runs on the thread of the client that it was dispatched to.
class ExecutableMessage : public Message {
 public:
  // What happens to a message that is dispatched while another of the same type number and class,
  // for the same client, is still waiting there.
  enum class Coalescing : int {
    None = 0,       // both are delivered
    KeepFirst = 1,  // the new one is dropped
    Merge = 2,      // the waiting one takes in the new one (merge) and keeps its place
  };

  explicit ExecutableMessage(Coalescing coalescing = Coalescing::None, int type = 0)
      : Message(type), coalescing_(coalescing) {}

  virtual void execute() = 0;
  // Takes over what a newer message of the same type and class carries. Called by the thread that
  // dispatches the newer one, with the client's queue locked: it must not dispatch anything.
  virtual void merge(ExecutableMessage& newer) { static_cast<void>(newer); }
  Coalescing coalescing() const { return coalescing_; }

 private:
  Coalescing coalescing_;
};

// Runs any callable, a MethodDelegate above all.
template <typename Callable>
class GenericExecutableMessage final : public ExecutableMessage {
 public:
  explicit GenericExecutableMessage(Callable callable) : callable_(std::move(callable)) {}
  void execute() override { callable_(); }

 private:
  Callable callable_;
};

template <typename Callable>
std::unique_ptr<ExecutableMessage> executableMessage(Callable callable) {
  return std::make_unique<GenericExecutableMessage<Callable>>(std::move(callable));
}

}  // namespace Tessel::Platform
