// Parses the arguments of native functions from texts and formats results. One specialisation per
// type serves all functions. UI thread.
//
// A function uses a plain type (int, String) if invalid texts are rejected, and one of the types
// below if every text is accepted.
#pragma once

#include "platform/base/String.h"

#include <locale.h>

#include <cerrno>
#include <concepts>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <span>
#include <tuple>

namespace Tessel::Platform::Graphics {
enum class AnimationCurve : int;
}

namespace arguments {

using Tessel::Platform::String;

// The unchanged text, owned by the caller; null is passed as "".
using Text = const char*;
// Parses the longest numeric prefix; 0 if there is none. Integers are decimal; negative values of
// unsigned types wrap around, and values out of range lose their upper bits.
template <typename T>
struct Lenient {
  using Passed = T;
};
// True for every text except "false".
struct UnlessFalse {
  using Passed = bool;
};
// Empty for texts other than "true" and "false".
struct TrueOrFalse {
  using Passed = std::optional<bool>;
};
// Off for null, on for every text.
struct Switch {
  using Passed = bool;
};
// The handle of a web view; malformed texts become 0, which is never a handle.
struct ViewHandle {
  using Passed = unsigned int;
};
// The number of a window or window group. Numbers out of range match none.
struct Id {
  using Passed = unsigned long;
};
// The same, but with 0 the call is a no-op and further arguments are not checked.
struct NonZeroId {
  using Passed = unsigned long;
};
// InProcess, OutProcess or the number of a child process, as in WebViewManager; validated.
struct ProcessGroup {
  using Passed = int;
};
// An animation curve; validated. Errors of functions with one count the arguments from 1.
struct Curve {
  using Passed = Tessel::Platform::Graphics::AnimationCurve;
  static constexpr int firstPosition = 1;
};
// A result written as "true" or "false"; a bool is written as "1" or "0".
struct Truth {
  using Passed = bool;
};

// The type that an operation receives for an argument of that type. A std::optional is an optional
// argument without a default.
template <typename T>
struct PassedType {
  using Type = T;
};
template <typename T>
requires requires {
  typename T::Passed;
}
struct PassedType<T> {
  using Type = typename T::Passed;
};
template <typename T>
struct PassedType<std::optional<T>> {
  using Type = std::optional<typename PassedType<T>::Type>;
};
template <typename T>
using Passed = typename PassedType<T>::Type;

template <typename T>
inline constexpr bool isOptional = false;
template <typename T>
inline constexpr bool isOptional<std::optional<T>> = true;

// parse() returns false if the text is rejected; text() formats the value for the chrome.
template <typename T>
struct Value;

// All remaining arguments: any number of groups of the same types, but not fewer than `least`. The
// types must be lenient. The texts are owned by the caller.
template <int least, typename... Types>
class Groups {
 public:
  static constexpr int size = sizeof...(Types);
  static constexpr int leastGroups = least;

  Groups() = default;
  explicit Groups(std::span<const Text> texts) : texts_(texts) {}

  std::size_t count() const { return texts_.size() / size; }
  std::tuple<Passed<Types>...> operator[](std::size_t index) const {
    std::tuple<Passed<Types>...> group{};
    std::size_t at = index * size;
    std::apply([&](auto&... values) { (read<Types>(texts_[at++], values), ...); }, group);
    return group;
  }

 private:
  template <typename T>
  static void read(Text text, Passed<T>& value) {
    Value<T>::parse(text ? text : "", value);
  }

  std::span<const Text> texts_;
};

template <typename T>
inline constexpr bool isGroups = false;
template <int least, typename... Types>
inline constexpr bool isGroups<Groups<least, Types...>> = true;

inline unsigned long lenientNumber(Text text) {
  return std::strtoul(text, nullptr, 10);
}

// Locale-independent: the toolkit sets the user's locale, which may have a decimal comma.
inline double decimalNumber(Text text) {
  static const locale_t plain = ::newlocale(LC_ALL_MASK, "C", nullptr);
  return ::strtod_l(text, nullptr, plain);
}

inline bool conversionFailed() {
  return errno == ERANGE || errno == EINVAL;
}

template <>
struct Value<bool> {
  // Accepts every text.
  static bool parse(Text text, bool& value) {
    value = std::strcmp(text, "true") == 0;
    return true;
  }
  static String text(bool value) { return String::fromUnsignedInteger(value ? 1 : 0); }
};

template <>
struct Value<UnlessFalse> {
  static bool parse(Text text, bool& value) {
    value = std::strcmp(text, "false") != 0;
    return true;
  }
};

template <>
struct Value<TrueOrFalse> {
  static bool parse(Text text, std::optional<bool>& value) {
    const bool isTrue = std::strcmp(text, "true") == 0;
    if (isTrue || std::strcmp(text, "false") == 0) value = isTrue;
    return true;
  }
};

template <>
struct Value<Switch> {
  static constexpr bool readsNull = true;
  static bool parse(Text text, bool& value) {
    value = text != nullptr;
    return true;
  }
};

template <>
struct Value<Truth> {
  static String text(bool value) { return value ? "true" : "false"; }
};

template <>
struct Value<int> {
  static bool parse(Text text, int& value) {
    errno = 0;
    const long long number = std::strtoll(text, nullptr, 10);
    if (conversionFailed() || number < std::numeric_limits<int>::min() ||
        number > std::numeric_limits<int>::max()) {
      return false;
    }
    value = static_cast<int>(number);
    return true;
  }
  static String text(int value) { return String::fromSignedInteger(value); }
};

template <>
struct Value<unsigned int> {
  static bool parse(Text text, unsigned int& value) {
    errno = 0;
    const unsigned long long number = std::strtoull(text, nullptr, 10);
    if (conversionFailed() || number > std::numeric_limits<unsigned int>::max()) return false;
    value = static_cast<unsigned int>(number);
    return true;
  }
  static String text(unsigned int value) { return String::fromUnsignedInteger(value); }
};

template <>
struct Value<unsigned long long> {
  static bool parse(Text text, unsigned long long& value) {
    errno = 0;
    value = std::strtoull(text, nullptr, 10);
    return !conversionFailed();
  }
};

template <>
struct Value<double> {
  // Values are stored as floats: values out of a float's range are rejected.
  static bool parse(Text text, double& value) {
    errno = 0;
    value = decimalNumber(text);
    constexpr double largest = std::numeric_limits<float>::max();
    return !conversionFailed() && value >= -largest && value <= largest;
  }
  static String text(double value) { return String::fromNumber(value); }
};

template <>
struct Value<float> {
  static bool parse(Text text, float& value) {
    double number = 0;
    if (!Value<double>::parse(text, number)) return false;
    value = static_cast<float>(number);
    return true;
  }
  static String text(float value) { return String::fromNumber(value); }
};

template <std::integral T>
struct Value<Lenient<T>> {
  static bool parse(Text text, T& value) {
    value = static_cast<T>(lenientNumber(text));
    return true;
  }
};

template <>
struct Value<Lenient<double>> {
  static bool parse(Text text, double& value) {
    value = decimalNumber(text);
    return true;
  }
};

template <>
struct Value<ViewHandle> {
  static bool parse(Text text, unsigned int& value) {
    const unsigned long number = lenientNumber(text);
    const bool isHandle = number <= std::numeric_limits<unsigned int>::max();
    value = isHandle ? static_cast<unsigned int>(number) : 0;
    return true;
  }
};

template <>
struct Value<Id> {
  static bool parse(Text text, unsigned long& value) {
    value = lenientNumber(text);
    return true;
  }
};

template <>
struct Value<NonZeroId> : Value<Id> {
  static bool endsCall(unsigned long value) { return value == 0; }
};

template <>
struct Value<Text> {
  static bool parse(Text text, Text& value) {
    value = text;
    return true;
  }
};

template <>
struct Value<String> {
  static bool parse(Text text, String& value) {
    value = text;
    return true;
  }
  static String text(const String& value) { return value; }
};

}  // namespace arguments
