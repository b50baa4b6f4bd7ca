// How each C++ type of functions, events and records is told in the reference: in words, and in
// TypeScript. What a record or an enumeration is made of is declared when it is first told.
// Main thread.
#pragma once

#include "webview/commands/Values.h"
#include "webview/events/EventFields.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace reference {

using Tessel::Platform::String;

// The name of a type that has one in the reference.
template <typename T>
inline constexpr const char* nameOfType = nullptr;

#define NAMED(Type) \
  template <>       \
  inline constexpr const char* nameOfType<Type> = #Type;
NAMED(OrvWebRect)
NAMED(OrvWebPoint)
NAMED(OrvWebSize)
NAMED(OrvWebFavicon)
NAMED(OrvWebHistoryItem)
NAMED(OrvWebContext)
NAMED(OrvWebCertificateInfo)
NAMED(OrvWebPageSecurityInfo)
NAMED(OrvWebPageSecurityBasicInfo)
NAMED(SSLEntity)
NAMED(SSLPublicKey)
NAMED(SSLCipher)
NAMED(SSLDateTime)
NAMED(SSLCertificate)
NAMED(SSLConnectionInfo)
NAMED(SSLConnectionBasicInfo)
NAMED(SSLCertificateInfo)
NAMED(OrvWebEvent)
NAMED(OrvWebSendEvent)
NAMED(OrvWebJavaScriptCallbackEvent)
NAMED(OrvWebPropertyChangedEvent)
#define ENUMERATION(Type, first) NAMED(Type)
#include "engine/Enumerations.def"
#define EVENT(Class, Type, Base) NAMED(Class)
#include "engine/EventClasses.def"
#undef NAMED

struct Member {
  std::string key;
  std::string type;  // in TypeScript
};

// The records that were told so far, by name.
using Records = std::map<std::string, std::vector<Member>, std::less<>>;

template <typename T>
struct IsList : std::false_type {};
template <typename T>
struct IsList<std::vector<T>> : std::true_type {};
template <typename T, std::size_t Extent>
struct IsList<std::span<T, Extent>> : std::true_type {};

template <typename T>
struct IsValueField : std::false_type {};
template <typename T>
struct IsValueField<ValueField<T>> : std::true_type {};

// The TypeScript type of a value inside JSON.
template <typename T>
std::string jsonType(Records& records);

inline std::string listOf(const std::string& element) {
  return element.find(' ') == std::string::npos ? element + "[]" : "(" + element + ")[]";
}

// The own fields of an event or record, in byte order of their keys.
template <typename T>
std::vector<Member> membersOf(Records& records) {
  std::vector<Member> members;
  fields::forEachInKeyOrder<fields::FieldsOf<T>>([&](const auto& entry) {
    using Value = std::decay_t<std::invoke_result_t<decltype(entry.get), const T&>>;
    members.push_back({std::string(entry.key), jsonType<Value>(records)});
  });
  return members;
}

template <typename T>
std::string declaredRecord(Records& records) {
  static_assert(nameOfType<T> != nullptr, "a record of the reference needs a name");
  const std::string name = nameOfType<T>;
  if (!records.contains(name)) {
    records[name];  // before its members: it may be one of them
    records[name] = membersOf<T>(records);
  }
  return name;
}

template <typename T>
std::string jsonType(Records& records) {
  if constexpr (IsValueField<T>::value) {
    return jsonType<typename T::Type>(records);
  } else if constexpr (std::is_same_v<T, bool>) {
    return "boolean";
  } else if constexpr (std::is_arithmetic_v<T>) {
    return "number";
  } else if constexpr (std::is_same_v<T, String> || std::is_same_v<T, const char*> ||
                       std::is_same_v<T, OrvWebEvent::Type> ||
                       std::is_same_v<T, OrvWebPropertyChangedEvent::Property>) {
    return "string";
  } else if constexpr (NamedEnumeration<T>) {
    return nameOfType<T>;
  } else if constexpr (std::is_same_v<T, OrvWebView*>) {
    return "NumberText";  // its handle
  } else if constexpr (std::is_same_v<T, JavaScriptVariant>) {
    return "string | number | boolean";
  } else if constexpr (std::is_same_v<T, SSLCertificateMap>) {
    return "Record<string, " + jsonType<SSLCertificateInfo>(records) + ">";
  } else if constexpr (IsList<T>::value) {
    return listOf(jsonType<std::decay_t<typename T::value_type>>(records));
  } else {
    return declaredRecord<T>(records);
  }
}

// A type of an argument or result, which cross as texts.
struct TypeText {
  std::string words;
  std::string typeScript;
  bool refusable = false;  // there are texts that it does not accept
  bool repeated = false;   // there may be any number of them
};

// The last argument of functions that end with any number of numbers.
struct Numbers {};
// Off with null, on with everything else.
struct Switch {};
// How an animation of a window goes.
struct Curve {};

// In words what a JSON text holds.
template <typename T>
std::string jsonWords(Records& records) {
  return "JSON `" + jsonType<T>(records) + "`";
}

template <typename T>
concept Read = requires(const char* text, T& value) {
  commands::Value<T>::parse(text, value);
};

// Tried with what no number, name or record is.
template <typename T>
bool isRefusable() {
  for (const char* text : {"99999999999999999999999", "1e999", "?"}) {
    T value{};
    if (!commands::Value<T>::parse(text, value)) return true;
  }
  return false;
}

template <typename T>
inline const char* integerWords = std::is_same_v<T, int>            ? "signed 32-bit integer"
                                  : std::is_same_v<T, unsigned int> ? "unsigned 32-bit integer"
                                                                    : "unsigned 64-bit integer";

template <Read T>
TypeText argumentText(Records& records) {
  TypeText text;
  text.refusable = isRefusable<T>();
  if constexpr (std::is_same_v<T, bool>) {
    text.words = "`true`, or anything else for false";
    text.typeScript = "Flag";
  } else if constexpr (std::is_same_v<T, String>) {
    text.words = "text";
    text.typeScript = "string";
  } else if constexpr (std::is_same_v<T, OrvWebEvent::Type>) {
    text.words = "name of an event";
    text.typeScript = "WebEventName";
  } else if constexpr (std::is_same_v<T, OrvWebPropertyChangedEvent::Property>) {
    text.words = "name of a property";
    text.typeScript = "PropertyName";
  } else if constexpr (NamedEnumeration<T>) {
    text.words = std::string("name of `") + nameOfType<T> + "`";
    text.typeScript = nameOfType<T>;
  } else if constexpr (std::is_same_v<T, OrvWebView*>) {
    text.words = "handle of a web view";
    text.typeScript = "Numeric";
  } else if constexpr (std::is_floating_point_v<T>) {
    text.words = "number that a float can hold";
    text.typeScript = "Numeric";
  } else if constexpr (std::is_integral_v<T>) {
    text.words = integerWords<T>;
    text.typeScript = "Numeric";
  } else if constexpr (std::is_same_v<T, SSLCertificateInfo>) {
    text.words = jsonWords<T>(records) + ", " + jsonWords<SSLConnectionInfo>(records) +
                 " or a certificate in PEM form";
    text.typeScript = "CertificateText";
  } else {
    text.words = jsonWords<T>(records);
    text.typeScript = "JsonText<" + jsonType<T>(records) + ">";
  }
  return text;
}

template <typename T>
requires std::is_same_v<T, Numbers> TypeText argumentText(Records&) {
  return {"any number of numbers", "Numeric[]", false, true};
}

template <typename T>
requires std::is_same_v<T, Switch> TypeText argumentText(Records&) {
  return {"null, or anything else for on", "unknown"};
}

template <typename T>
requires std::is_same_v<T, Curve> TypeText argumentText(Records&) {
  return {"`Linear`, `EaseInCurve` or `EaseOutCurve`; checked", "WindowAnimationCurve"};
}

template <typename T>
TypeText resultText(Records& records) {
  if constexpr (std::is_void_v<T>) {
    return {"nothing", "''"};
  } else if constexpr (std::is_same_v<T, bool>) {
    return {"`1` or `0`", "BooleanText"};
  } else if constexpr (std::is_arithmetic_v<T>) {
    return {std::is_integral_v<T> ? integerWords<T> : "number, six digits at most", "NumberText"};
  } else if constexpr (std::is_same_v<T, String>) {
    return {"text", "string"};
  } else if constexpr (NamedEnumeration<T>) {
    return {std::string("name of `") + nameOfType<T> + "`", nameOfType<T>};
  } else {
    return {jsonWords<T>(records), "JsonText<" + jsonType<T>(records) + ">"};
  }
}

}  // namespace reference
