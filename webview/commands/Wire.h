// How the arguments and results of commands cross to another process. One specialisation per type
// serves every command. UI thread.
#pragma once

#include "platform/channel/IPCSafeString.h"
#include "platform/channel/MessageReplyBuffer.h"
#include "webview/commands/Values.h"

#include <concepts>
#include <type_traits>
#include <vector>

namespace commands {

using Tessel::Platform::IPCSafeString;
using Tessel::Platform::TypedReplyBuffer;

// The conversion of values that are passed as texts, as arguments or results. parse() is false for
// an invalid text.
template <typename T>
struct TextForm;

template <>
struct TextForm<String> {
  static String text(const String& value) { return value; }
  static bool parse(const String& text, String& value) {
    value = text;
    return true;
  }
};

template <typename T>
requires std::same_as<T, unsigned int> || std::same_as<T, unsigned long long>
struct TextForm<T> {
  static String text(T value) { return String::fromUnsignedInteger(value); }
  static bool parse(const String& text, T& value) {
    value = static_cast<T>(std::strtoull(text.utf8(), nullptr, 10));
    return true;
  }
};

template <std::floating_point T>
struct TextForm<T> {
  static String text(T value) { return String::fromNumber(value); }
  static bool parse(const String& text, T& value) {
    value = Tessel::Platform::parseFloatArgument(text.utf8());
    return true;
  }
};

// Records and lists as JSON.
template <typename T>
struct JsonForm {
  static String text(const T& value) { return fields::textOf(value); }
  static bool parse(const String& text, T& value) { return readRecord(text, value); }
};
template <>
struct TextForm<OrvWebPoint> : JsonForm<OrvWebPoint> {};
template <>
struct TextForm<OrvWebSize> : JsonForm<OrvWebSize> {};
template <>
struct TextForm<OrvWebRect> : JsonForm<OrvWebRect> {};
template <>
struct TextForm<std::vector<String>> : JsonForm<std::vector<String>> {};
template <>
struct TextForm<std::vector<JavaScriptVariant>> : JsonForm<std::vector<JavaScriptVariant>> {};
template <>
struct TextForm<OrvWebFavicon> : JsonForm<OrvWebFavicon> {};
template <>
struct TextForm<std::vector<OrvWebHistoryItem>> : JsonForm<std::vector<OrvWebHistoryItem>> {};

// Records that bring their own text, as those about certificates do.
template <typename T>
concept SerializedRecord = requires(const T& record, T& target, const String& text) {
  { record.serialize() } -> std::convertible_to<String>;
  target.deserialize(text);
};
template <SerializedRecord T>
struct TextForm<T> {
  static String text(const T& value) { return value.serialize(); }
  static bool parse(const String& text, T& value) {
    if constexpr (std::same_as<decltype(value.deserialize(text)), bool>) {
      return value.deserialize(text);
    } else {
      value.deserialize(text);
      return true;
    }
  }
};

// Never read: from another process they arrive as empty records.
template <typename T>
requires std::same_as<T, OrvWebContext> || std::same_as<T, OrvWebCertificateInfo>
struct TextForm<T> {
  static String text(const T& value) { return fields::textOf(value); }
  static bool parse(const String&, T&) { return false; }
};
template <>
struct TextForm<SSLCertificateMap> {
  static String text(const SSLCertificateMap& value) { return textOf(value); }
  static bool parse(const String& text, SSLCertificateMap& value) {
    return certificatesFromText(text, value);
  }
};

// An argument: the type of its field, and its encoding and decoding. The default encoding is a
// text. decode() is false for an invalid field.
template <typename T>
struct Wire {
  using Field = IPCSafeString;
  using ProxyArgument = T;  // what the sender has
  static Field encode(const T& value) { return TextForm<T>::text(value); }
  static bool decode(const Field& field, T& value) {
    return TextForm<T>::parse(field.toString(), value);
  }
};

template <typename T>
requires std::same_as<T, bool> || std::same_as<T, int>
struct Wire<T> {
  using Field = T;
  using ProxyArgument = T;
  static T encode(T value) { return value; }
  static bool decode(T field, T& value) {
    value = field;
    return true;
  }
};

template <NamedEnumeration T>
struct Wire<T> {
  using Field = int;
  using ProxyArgument = T;
  static int encode(T value) { return static_cast<int>(value); }
  static bool decode(int field, T& value) {
    value = static_cast<T>(field);
    return *nameOf(value) != '\0';
  }
};

// A web view goes by its handle, in the text that the chrome gave; only the process that has the
// web view can look it up.
template <>
struct Wire<OrvWebView*> {
  using Field = IPCSafeString;
  using ProxyArgument = HandleText;
  static Field encode(const HandleText& handle) { return handle.text; }
  static bool decode(const Field& field, OrvWebView*& value);
};

// A result: the sender's buffer for it, and the way into and out of it.
template <typename T>
struct Reply {
  using Buffer = TypedReplyBuffer<const char*>;
  static constexpr char letter = 't';
  static void store(Tessel::Platform::MessageReplyBuffer& buffer, const T& value) {
    const String text = TextForm<T>::text(value);
    buffer.assign(text.utf8(), text.length() + 1);
  }
  static T value(const Buffer& buffer) {
    T value{};
    return buffer.value() && TextForm<T>::parse(buffer.text(), value) ? value : T{};
  }
};

template <typename T>
requires std::is_arithmetic_v<T> || std::is_enum_v<T>
struct Reply<T> {
  using Buffer = TypedReplyBuffer<T>;
  static constexpr char letter = std::same_as<T, bool>           ? 'b'
                                 : std::same_as<T, int>          ? 'i'
                                 : std::same_as<T, unsigned int> ? 'u'
                                 : std::same_as<T, float>        ? 'f'
                                 : std::same_as<T, double>       ? 'd'
                                                                 : 'e';
  static_assert(letter != 'e' || std::is_enum_v<T>);
  static void store(Tessel::Platform::MessageReplyBuffer& buffer, T value) {
    buffer.assign(&value, sizeof(value));
  }
  static T value(const Buffer& buffer) { return buffer.value(); }
};

template <>
struct Reply<void> {
  static constexpr char letter = '-';
};

}  // namespace commands
