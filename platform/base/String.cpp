// The text type and the texts of numbers. Any thread.
#include "platform/base/String.h"

#include <locale.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <system_error>

namespace Tessel::Platform {

namespace {

std::shared_ptr<const std::string> shared(std::string&& text) {
  // Empty strings share a null pointer: the common case costs nothing.
  return text.empty() ? nullptr : std::make_shared<const std::string>(std::move(text));
}

}  // namespace

String::String(const char* utf8) : String(utf8 ? std::string_view(utf8) : std::string_view()) {}

String::String(std::string_view utf8) : text_(shared(std::string(utf8))) {}

String::String(std::string utf8) : text_(shared(std::move(utf8))) {}

String String::fromUnsignedInteger(unsigned long long value) {
  return String(std::to_string(value));
}

String String::fromSignedInteger(long long value) {
  return String(std::to_string(value));
}

String String::fromNumber(double value) {
  return String(formatNumberText(value));
}

namespace {

// Length of the UTF-8 sequence at the start of a non-empty text, and whether it is valid; an
// invalid one is as long as its longest valid prefix.
struct Sequence {
  std::size_t length;
  bool isCharacter;
};
Sequence sequenceAt(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char first = byte(0);
  if (first < 0x80) return {1, true};
  const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4) return {1, false};
  // The range of the second byte excludes overlong forms, surrogates and code points above
  // U+10FFFF.
  const unsigned char least = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
  const unsigned char most = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
  if (text.size() < 2 || byte(1) < least || byte(1) > most) return {1, false};
  for (std::size_t i = 2; i < length; ++i) {
    if (i == text.size() || (byte(i) & 0xC0) != 0x80) return {i, false};
  }
  return {length, true};
}

}  // namespace

String repaired(const String& text) {
  constexpr std::string_view replacement = "\xEF\xBF\xBD";
  const std::string_view bytes = text.view();
  std::string result;
  std::size_t good = 0;  // start of what is not copied yet
  bool isGood = true;
  for (std::size_t at = 0; at < bytes.size();) {
    // Fast path: ASCII.
    if (static_cast<unsigned char>(bytes[at]) < 0x80) {
      ++at;
      continue;
    }
    const Sequence next = sequenceAt(bytes.substr(at));
    if (!next.isCharacter) {
      isGood = false;
      result.append(bytes.substr(good, at - good)).append(replacement);
      good = at + next.length;
    }
    at += next.length;
  }
  if (isGood) return text;
  return String(std::move(result.append(bytes.substr(good))));
}

std::string formatNumberText(double value) {
  // to_chars ignores the locale, unlike printf: the decimal separator stays a point.
  char text[23];
  const auto [end, error] =
      std::to_chars(std::begin(text), std::end(text), value, std::chars_format::general, 6);
  return error == std::errc() ? std::string(text, end) : std::string();
}

float parseFloatArgument(const char* text, bool* succeeded) {
  // The toolkit sets the user's locale.
  static const locale_t plain = ::newlocale(LC_ALL_MASK, "C", nullptr);
  constexpr double largest = std::numeric_limits<float>::max();
  errno = 0;
  const double value = ::strtod_l(text, nullptr, plain);
  const bool fits = errno != ERANGE && errno != EINVAL && value >= -largest && value <= largest;
  if (succeeded) *succeeded = fits;
  return fits ? static_cast<float>(value) : 0.0F;
}

}  // namespace Tessel::Platform
