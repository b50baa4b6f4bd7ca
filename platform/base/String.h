// The reference-counted text used at every boundary with the platform and the web engine.
// Immutable, so a copy may be handed to any thread.
#pragma once

#include <compare>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace Tessel::Platform {

// Bytes, UTF-8 by convention. They may contain zero bytes; code that reads utf8() as a C string
// sees the text up to the first one.
class String {
 public:
  String() = default;
  String(const char* utf8);  // null gives the empty string
  String(std::string_view utf8);
  String(std::string utf8);

  // Never null; ends with a zero byte; valid as long as any copy of this string lives.
  const char* utf8() const { return text_ ? text_->c_str() : ""; }
  std::size_t length() const { return text_ ? text_->size() : 0; }
  bool isEmpty() const { return length() == 0; }
  std::string_view view() const { return text_ ? std::string_view(*text_) : std::string_view(); }
  std::string toStdString() const { return std::string(view()); }

  static String fromUnsignedInteger(unsigned long long value);
  static String fromSignedInteger(long long value);
  // The text of "%g"; see formatNumberText.
  static String fromNumber(double value);

  friend bool operator==(const String& a, const String& b) { return a.view() == b.view(); }
  // Byte order, as strcmp has it for texts without zero bytes.
  friend std::strong_ordering operator<=>(const String& a, const String& b) {
    return a.view() <=> b.view();
  }

 private:
  std::shared_ptr<const std::string> text_;
};

// Joins texts, C strings and String values into one; the only allocation is the result's.
template <typename... Parts>
String concat(const Parts&... parts);

// The six significant digits of printf's "%g"; empty when the text would be longer than 23
// characters, the most that the number buffers of this system's protocols hold.
std::string formatNumberText(double value);
// The inverse: parses the number at the start of the text, with a point as decimal separator in
// every locale; 0 for none. For a value out of a float's range: 0, with succeeded set to false.
float parseFloatArgument(const char* text, bool* succeeded = nullptr);

// The text with every invalid byte replaced by U+FFFD, and a truncated sequence by one. Zero bytes
// are valid.
String repaired(const String& text);

namespace detail {
inline std::string_view asView(const String& text) {
  return text.view();
}
inline std::string_view asView(std::string_view text) {
  return text;
}
// Without these two overloads, a C string or std::string would be ambiguous.
inline std::string_view asView(const std::string& text) {
  return text;
}
inline std::string_view asView(const char* text) {
  return text ? std::string_view(text) : std::string_view();
}
}  // namespace detail

template <typename... Parts>
String concat(const Parts&... parts) {
  std::string text;
  text.reserve((detail::asView(parts).size() + ... + 0));
  (text.append(detail::asView(parts)), ...);
  return String(std::move(text));
}

}  // namespace Tessel::Platform

template <>
struct std::hash<Tessel::Platform::String> {
  std::size_t operator()(const Tessel::Platform::String& text) const noexcept {
    return std::hash<std::string_view>()(text.view());
  }
};
