// JSON texts, escaped. Any thread.
#include "engine/JsonText.h"

namespace json {

namespace {

constexpr std::size_t longestEscape = 6;  // \u0000

constexpr auto escapes = [] {
  // 0: as it is; 'u': by its number; else the letter after the backslash.
  std::array<char, 256> table{};
  for (std::size_t i = 0; i < 0x20; ++i) table[i] = 'u';
  table['\b'] = 'b';
  table['\t'] = 't';
  table['\n'] = 'n';
  table['\f'] = 'f';
  table['\r'] = 'r';
  table['"'] = '"';
  table['\\'] = '\\';
  return table;
}();

char escapeOf(char c) {
  return escapes[static_cast<unsigned char>(c)];
}

constexpr std::uint64_t everyByte(unsigned char byte) {
  return 0x0101010101010101u * byte;
}
// Whether one of the eight bytes needs escaping. Subtraction borrows into the top bit of the bytes
// that are too small.
bool hasEscapes(std::uint64_t bytes) {
  const std::uint64_t quotes = bytes ^ everyByte('"');
  const std::uint64_t backslashes = bytes ^ everyByte('\\');
  const std::uint64_t found = ((bytes - everyByte(0x20)) & ~bytes) |
                              ((quotes - everyByte(1)) & ~quotes) |
                              ((backslashes - everyByte(1)) & ~backslashes);
  return (found & everyByte(0x80)) != 0;
}

char* writeEscape(char* out, char c, char escape) {
  *out++ = '\\';
  *out++ = escape;
  if (escape == 'u') {
    constexpr const char* digits = "0123456789ABCDEF";
    *out++ = '0';
    *out++ = '0';
    *out++ = digits[static_cast<unsigned char>(c) >> 4];
    *out++ = digits[static_cast<unsigned char>(c) & 15];
  }
  return out;
}

}  // namespace

std::size_t escapedRoom(std::string_view text) {
  constexpr std::size_t worthCounting = 64;
  if (text.size() < worthCounting) return longestEscape * text.size() + 2;
  std::size_t size = text.size() + 2;
  for (const char c : text) {
    const char escape = escapeOf(c);
    size += escape == 0 ? 0 : escape == 'u' ? longestEscape - 1 : 1;
  }
  return size;
}

char* writeEscaped(char* out, std::string_view text) {
  const char* next = text.data();
  const char* const end = next + text.size();
  *out++ = '"';
  while (next != end) {
    // Clean runs are copied by eights.
    while (end - next >= 8) {
      std::uint64_t bytes = 0;
      std::memcpy(&bytes, next, sizeof bytes);
      if (hasEscapes(bytes)) break;
      std::memcpy(out, &bytes, sizeof bytes);
      next += sizeof bytes;
      out += sizeof bytes;
    }
    for (int i = 0; i < 8 && next != end; ++i, ++next) {
      const char escape = escapeOf(*next);
      if (escape == 0) {
        *out++ = *next;
      } else {
        out = writeEscape(out, *next, escape);
      }
    }
  }
  *out++ = '"';
  return out;
}

}  // namespace json
