// How the arguments of commands that are about the web are read, and their results written, beside
// those of registry/Arguments.h. UI thread.
#pragma once

#include "engine/OrvWebEvent.h"
#include "engine/Records.h"
#include "registry/Arguments.h"
#include "webview/events/EventFields.h"
#include "webview/events/RecordReaders.h"

#include <concepts>
#include <vector>

namespace arguments {

// By name, in both directions.
template <NamedEnumeration Type>
struct Value<Type> {
  static bool parse(Text text, Type& value) {
    bool notFound = false;
    value = fromName<Type>(text, notFound);
    return !notFound;
  }
  static String text(Type value) { return nameOf(value); }
};

// JSON of records and lists. Elements of a list that are of another kind are skipped; a text that
// is no list is an empty one.
template <typename T>
requires std::same_as<T, OrvWebPoint> || std::same_as<T, OrvWebRect> || std::same_as<T, OrvWebSize>
struct Value<T> {
  static bool parse(Text text, T& value) { return readRecord(text, value); }
  static String text(const T& value) { return fields::textOf(value); }
};
template <typename T>
requires std::same_as<T, std::vector<String>> || std::same_as<T, std::vector<JavaScriptVariant>>
struct Value<T> {
  static bool parse(Text text, T& value) {
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
  static bool parse(Text text, SSLCertificateInfo& value) {
    value.deserialize(text);
    return true;
  }
  static String text(const SSLCertificateInfo& value) { return value.serialize(); }
};
template <>
struct Value<SSLCertificateMap> {
  static bool parse(Text text, SSLCertificateMap& value) {
    // A malformed text is rejected like a list with an element that is not a certificate.
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
  static bool parse(Text text, HandleText& value) {
    unsigned int handle = 0;
    value.text = text;
    return Value<unsigned int>::parse(text, handle);
  }
};

// A web view of this process by its handle; null for a handle that names none.
template <>
struct Value<OrvWebView*> {
  static bool parse(Text text, OrvWebView*& value);
};

}  // namespace arguments

namespace commands {
using arguments::HandleText;
using arguments::Value;
using Tessel::Platform::String;
}  // namespace commands
