// Where the answer of a synchronous message lands: typed storage in the sender's stack frame, or
// the bytes that are on their way there.
#pragma once

#include "platform/base/String.h"

#include <cstddef>
#include <cstring>
#include <optional>
#include <type_traits>

namespace Tessel::Platform {

class MessageReplyBuffer {
 public:
  virtual ~MessageReplyBuffer() = default;
  // Bytes of the concrete buffer object.
  virtual std::size_t size() const = 0;
  // Sets the reply: a number's bytes, or a text with its terminating zero byte. False, without
  // effect, if the bytes are not a valid value: they may come from an untrusted process.
  virtual bool assign(const void* bytes, std::size_t length) = 0;
};

// A number or a truth value that starts as zero or false.
template <typename T>
class TypedReplyBuffer final : public MessageReplyBuffer {
 public:
  static_assert(std::is_arithmetic_v<T> || std::is_enum_v<T>);

  std::size_t size() const override { return sizeof(*this); }
  bool assign(const void* bytes, std::size_t length) override {
    if (length != sizeof(T)) return false;
    if constexpr (std::is_same_v<T, bool>) {
      value_ = *static_cast<const unsigned char*>(bytes) != 0;
    } else {
      std::memcpy(&value_, bytes, sizeof(T));
    }
    return true;
  }
  T value() const { return value_; }
  void set(T value) { value_ = value; }

 private:
  T value_{};
};

// A text: a copy of the received bytes, which the buffer owns. Null until there is one.
template <>
class TypedReplyBuffer<const char*> final : public MessageReplyBuffer {
 public:
  std::size_t size() const override { return sizeof(*this); }
  bool assign(const void* bytes, std::size_t length) override {
    const auto* const start = static_cast<const char*>(bytes);
    if (length == 0 || start[length - 1] != '\0') return false;
    text_.emplace(start, length - 1);
    return true;
  }
  const char* value() const { return text_ ? text_->c_str() : nullptr; }
  // Empty when no reply has come.
  String text() const { return text_ ? String(std::string_view(*text_)) : String(); }

 private:
  std::optional<std::string> text_;
};

// The reply on the receiving side, of whatever type, until it travels back.
class ReplyBytes final : public MessageReplyBuffer {
 public:
  std::size_t size() const override { return sizeof(*this); }
  bool assign(const void* bytes, std::size_t length) override {
    bytes_.assign(static_cast<const char*>(bytes), length);
    return true;
  }
  // Empty without a reply.
  const std::string& bytes() const { return bytes_; }

 private:
  std::string bytes_;
};

}  // namespace Tessel::Platform
