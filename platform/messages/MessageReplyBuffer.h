// Where the answer of a synchronous message lands: typed storage in the sender's stack frame.
#pragma once

#include "platform/String.h"

#include <cstddef>
#include <utility>

namespace Tessel::Platform {

class MessageReplyBuffer {
 public:
  virtual ~MessageReplyBuffer() = default;
  // Bytes of the concrete buffer object.
  virtual std::size_t size() const = 0;
};

// One value that starts as zero, false or empty.
template <typename T>
class TypedReplyBuffer final : public MessageReplyBuffer {
 public:
  std::size_t size() const override { return sizeof(*this); }
  const T& value() const { return value_; }
  void set(T value) { value_ = std::move(value); }

 private:
  T value_{};
};

}  // namespace Tessel::Platform
