// The text type and the texts of numbers. Any thread.
#include "platform/String.h"

#include <locale.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <system_error>

namespace Tessel::Platform {

namespace {

std::shared_ptr<const std::string> shared(std::string&& text) {
  // All empty strings are the same null: they are the common case and cost nothing.
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

std::string formatNumberText(double value) {
  // to_chars knows no locale, unlike printf: the decimal point stays a point.
  char text[23];
  const auto [end, error] =
      std::to_chars(std::begin(text), std::end(text), value, std::chars_format::general, 6);
  return error == std::errc() ? std::string(text, end) : std::string();
}

float parseFloatArgument(const char* text, bool* succeeded) {
  // The toolkit sets the locale of the user.
  static const locale_t plain = ::newlocale(LC_ALL_MASK, "C", nullptr);
  constexpr double largest = std::numeric_limits<float>::max();
  errno = 0;
  const double value = ::strtod_l(text, nullptr, plain);
  const bool fits = errno != ERANGE && errno != EINVAL && value >= -largest && value <= largest;
  if (succeeded) *succeeded = fits;
  return fits ? static_cast<float>(value) : 0.0F;
}

}  // namespace Tessel::Platform
