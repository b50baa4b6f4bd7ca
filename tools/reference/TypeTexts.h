// Describes the C++ types of functions, events and records for the reference: in words and in
// TypeScript. Records and enumerations are declared at their first use. Main thread.
#pragma once

#include "registry/NativeCall.h"
#include "webview/commands/Values.h"
#include "webview/events/EventFields.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace reference {

using Tessel::Platform::String;

// The name of a type in the reference; null if it has none.
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
NAMED(OrvWebRetry)
NAMED(OrvWebMemoryExcess)
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

// The records declared so far, by name.
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

// The fields of an event or record, without inherited ones, in byte order of their keys.
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
    records[name];  // before its members, since records may be recursive
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

// The type of an argument or result; all are passed as texts.
struct TypeText {
  std::string words;
  std::string typeScript;
  bool refusable = false;  // some texts are rejected
  bool repeated = false;   // any number of arguments
};

// Describes the contents of a JSON text in words.
template <typename T>
std::string jsonWords(Records& records) {
  return "JSON `" + jsonType<T>(records) + "`";
}

template <typename T>
concept Read = requires(const char* text, T& value) {
  arguments::Value<T>::parse(text, value);
};
// A type that describes how to parse a text into another type.
template <typename T>
concept Reading = requires {
  typename T::Passed;
};

// Tested with texts that are not a valid number, name or record.
template <typename T>
bool isRefusable() {
  for (const char* text : {"99999999999999999999999", "1e999", "?"}) {
    T value{};
    if (!arguments::Value<T>::parse(text, value)) return true;
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
  } else if constexpr (std::is_same_v<T, String> || std::is_same_v<T, arguments::Text>) {
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
inline constexpr bool isLenient = false;
template <typename T>
inline constexpr bool isLenient<arguments::Lenient<T>> = true;

template <Reading T>
TypeText argumentText(Records& records) {
  using namespace arguments;
  if constexpr (std::is_same_v<T, Switch>) {
    return {"null, or anything else for on", "unknown"};
  } else if constexpr (std::is_same_v<T, Curve>) {
    return {"`Linear`, `EaseInCurve` or `EaseOutCurve`", "WindowAnimationCurve", true};
  } else if constexpr (std::is_same_v<T, ProcessGroup>) {
    return {"text", "string", true};
  } else if constexpr (std::is_same_v<T, UnlessFalse>) {
    return {"`false`, or anything else for true", "Flag"};
  } else if constexpr (std::is_same_v<T, TrueOrFalse>) {
    return {"`true` or `false`", "Flag"};
  } else {
    constexpr bool isNumber =
        std::is_same_v<T, ViewHandle> || std::is_same_v<T, Id> || std::is_same_v<T, NonZeroId>;
    static_assert(isNumber || isLenient<T>, "no words for this type");
    using Like = std::conditional_t<isNumber, unsigned int, typename T::Passed>;
    TypeText text = argumentText<Like>(records);
    text.refusable = false;
    return text;
  }
}

// All groups have the same description.
template <typename T>
requires arguments::isGroups<T> TypeText argumentText(Records&) {
  return {"any number of numbers", "Numeric[]", false, true};
}

// An optional argument.
template <typename T>
requires arguments::isOptional<T> TypeText argumentText(Records& records) {
  return argumentText<typename T::value_type>(records);
}

template <typename T>
TypeText resultText(Records& records) {
  if constexpr (std::is_void_v<T>) {
    return {"nothing", "''"};
  } else if constexpr (std::is_same_v<T, bool>) {
    return {"`1` or `0`", "BooleanText"};
  } else if constexpr (std::is_same_v<T, arguments::Truth>) {
    return {"`true` or `false`", "TruthText"};
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
