// JSON values written straight into memory that was made large enough before: room() says how many
// bytes a value takes at most, write() writes it and returns the place behind it. Any thread.
//
// The place goes by value from write to write. A writer with a buffer of its own has to read its
// members again after every byte that it stores, since any byte could be one of theirs; that is
// half of the time of a small text.
#pragma once

#include "platform/base/String.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace json {

// A text of letters and the like: nothing in it needs escaping.
struct PlainText {
  std::string_view text;
};
// JSON that is already written.
struct RawText {
  Tessel::Platform::String text;
};

// At most what every character escaped would take; exact for long texts.
std::size_t escapedRoom(std::string_view text);
// With its quotes: quote, backslash and what is below a blank escaped, all else as it is.
char* writeEscaped(char* out, std::string_view text);

inline char* copy(char* out, std::string_view text) {
  // An empty text may be a null pointer, which memcpy must not be given.
  if (!text.empty()) std::memcpy(out, text.data(), text.size());
  return out + text.size();
}

constexpr std::size_t room(bool) {
  return 5;
}
inline char* write(char* out, bool value) {
  return value ? copy(out, "true") : copy(out, "false");
}

template <typename Integer>
concept WrittenInteger = std::is_same_v<Integer, int> || std::is_same_v<Integer, unsigned int> ||
    std::is_same_v<Integer, std::int64_t> || std::is_same_v<Integer, std::uint64_t>;
template <WrittenInteger Integer>
constexpr std::size_t room(Integer) {
  return 20;
}
template <WrittenInteger Integer>
char* write(char* out, Integer value) {
  return std::to_chars(out, out + 20, value).ptr;
}

constexpr std::size_t room(double) {
  return 23;
}
// JSON has no number that is not finite.
inline char* write(char* out, double value) {
  if (!std::isfinite(value)) return copy(out, "null");
  return copy(out, Tessel::Platform::formatNumberText(value));
}

inline std::size_t room(PlainText value) {
  return value.text.size() + 2;
}
inline char* write(char* out, PlainText value) {
  *out++ = '"';
  out = copy(out, value.text);
  *out++ = '"';
  return out;
}

inline std::size_t room(std::string_view text) {
  return text.empty() ? 2 : escapedRoom(text);
}
inline char* write(char* out, std::string_view text) {
  return text.empty() ? copy(out, R"("")") : writeEscaped(out, text);
}
inline std::size_t room(const Tessel::Platform::String& text) {
  return room(text.view());
}
inline char* write(char* out, const Tessel::Platform::String& text) {
  return write(out, text.view());
}
// Null is the empty text.
inline std::size_t room(const char* text) {
  return room(std::string_view(text ? text : ""));
}
inline char* write(char* out, const char* text) {
  return write(out, std::string_view(text ? text : ""));
}

inline std::size_t room(const RawText& value) {
  return value.text.length();
}
inline char* write(char* out, const RawText& value) {
  return copy(out, value.text.view());
}

// Gives fill() a place with that much room; what it has written is the text.
template <typename Fill>
Tessel::Platform::String textIn(std::size_t room, Fill&& fill) {
  constexpr std::size_t mostTexts = 2048;
  std::array<char, mostTexts> local;  // not initialised: only what was written is read
  const std::unique_ptr<char[]> large(room > mostTexts ? new char[room] : nullptr);
  char* const start = large ? large.get() : local.data();
  return std::string_view(start, static_cast<std::size_t>(fill(start) - start));
}

}  // namespace json
