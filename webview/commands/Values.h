// How the arguments of commands are read from text and their results are written. One
// specialisation per type serves every command. UI thread.
#pragma once

#include "engine/OrvWebEvent.h"
#include "engine/Records.h"
#include "platform/base/String.h"
#include "webview/events/EventFields.h"
#include "webview/events/RecordReaders.h"

#include <locale.h>

#include <cerrno>
#include <cmath>
#include <concepts>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <vector>

namespace commands {

using Tessel::Platform::String;

// parse() is false when the text is not accepted; text() is what the chrome reads.
template <typename T>
struct Value;

template <>
struct Value<bool> {
  // Every text is one or the other.
  static bool parse(const char* text, bool& value) {
    value = std::strcmp(text, "true") == 0;
    return true;
  }
  static String text(bool value) { return String::fromUnsignedInteger(value ? 1 : 0); }
};

inline bool conversionFailed() {
  return errno == ERANGE || errno == EINVAL;
}

template <>
struct Value<int> {
  static bool parse(const char* text, int& value) {
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
  static bool parse(const char* text, unsigned int& value) {
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
  static bool parse(const char* text, unsigned long long& value) {
    errno = 0;
    value = std::strtoull(text, nullptr, 10);
    return !conversionFailed();
  }
};

// By name, in both directions.
template <NamedEnumeration Type>
struct Value<Type> {
  static bool parse(const char* text, Type& value) {
    bool notFound = false;
    value = fromName<Type>(text, notFound);
    return !notFound;
  }
  static String text(Type value) { return nameOf(value); }
};

template <>
struct Value<double> {
  // Values are floats at heart: what a float cannot hold is refused.
  static bool parse(const char* text, double& value) {
    // The point is a point, whatever the language of the user: the toolkit sets the locale.
    static const locale_t plain = ::newlocale(LC_ALL_MASK, "C", nullptr);
    errno = 0;
    value = ::strtod_l(text, nullptr, plain);
    constexpr double largest = std::numeric_limits<float>::max();
    return !conversionFailed() && value >= -largest && value <= largest;
  }
  static String text(double value) { return String::fromNumber(value); }
};

template <>
struct Value<float> {
  static bool parse(const char* text, float& value) {
    double number = 0;
    if (!Value<double>::parse(text, number)) return false;
    value = static_cast<float>(number);
    return true;
  }
  static String text(float value) { return String::fromNumber(value); }
};

template <>
struct Value<String> {
  static bool parse(const char* text, String& value) {
    value = text;
    return true;
  }
  static String text(const String& value) { return value; }
};

// JSON of records and lists. Elements of a list that are of another kind are skipped; a text that
// is no list is an empty one.
template <typename T>
requires std::same_as<T, OrvWebPoint> || std::same_as<T, OrvWebRect> || std::same_as<T, OrvWebSize>
struct Value<T> {
  static bool parse(const char* text, T& value) { return readRecord(text, value); }
  static String text(const T& value) { return fields::textOf(value); }
};
template <typename T>
requires std::same_as<T, std::vector<String>> || std::same_as<T, std::vector<JavaScriptVariant>>
struct Value<T> {
  static bool parse(const char* text, T& value) {
    const String json(text);
    if (json.length() > maximumRecordText) return false;
    readRecord(json, value);
    return true;
  }
  static String text(const T& value) { return fields::textOf(value); }
};

// Records that only go to the chrome.
template <typename T>
requires std::same_as<T, OrvWebContext> || std::same_as<T, OrvWebCertificateInfo> ||
    std::same_as<T, OrvWebFavicon> || std::same_as<T, std::vector<OrvWebHistoryItem>>
struct Value<T> {
  static String text(const T& value) { return fields::textOf(value); }
};

// Records that bring a text form of their own. A text that does not read leaves an empty record,
// for the operation to refuse.
template <>
struct Value<SSLCertificateInfo> {
  static bool parse(const char* text, SSLCertificateInfo& value) {
    value.deserialize(text);
    return true;
  }
  static String text(const SSLCertificateInfo& value) { return value.serialize(); }
};
template <>
struct Value<SSLCertificateMap> {
  static bool parse(const char* text, SSLCertificateMap& value) {
    // A text that is none is refused as a list with something in it that is no certificate.
    if (!certificatesFromText(text, value)) value[String()] = {};
    return true;
  }
  static String text(const SSLCertificateMap& value) { return textOf(value); }
};
template <>
struct Value<OrvWebPageSecurityInfo> {
  static String text(const OrvWebPageSecurityInfo& value) { return value.serialize(); }
};

// A web view of another process: its handle, in the text that the chrome gave.
struct HandleText {
  String text;
};
template <>
struct Value<HandleText> {
  static bool parse(const char* text, HandleText& value) {
    unsigned int handle = 0;
    value.text = text;
    return Value<unsigned int>::parse(text, handle);
  }
};

// A web view of this process by its handle; null for a handle that names none.
template <>
struct Value<OrvWebView*> {
  static bool parse(const char* text, OrvWebView*& value);
};

}  // namespace commands
