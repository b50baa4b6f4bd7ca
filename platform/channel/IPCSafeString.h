// A text as it crosses to other processes: bytes that remember their encoding. Immutable, so a
// copy may be handed to any thread.
#pragma once

#include "platform/base/String.h"

namespace Tessel::Platform {

class IPCSafeString {
 public:
  IPCSafeString() = default;
  IPCSafeString(String utf8) : bytes_(std::move(utf8)) {}
  IPCSafeString(const char* utf8) : bytes_(utf8) {}
  static IPCSafeString latin1(String bytes) {
    IPCSafeString text(std::move(bytes));
    text.isUtf8_ = false;
    return text;
  }

  bool isUtf8() const { return isUtf8_; }
  std::string_view bytes() const { return bytes_.view(); }
  // Ends with a zero byte, which the length does not count.
  const char* data() const { return bytes_.utf8(); }
  std::size_t length() const { return bytes_.length(); }
  // The text in the encoding of this process.
  String toString() const;

  friend bool operator==(const IPCSafeString&, const IPCSafeString&) = default;

 private:
  String bytes_;
  bool isUtf8_ = true;
};

}  // namespace Tessel::Platform
