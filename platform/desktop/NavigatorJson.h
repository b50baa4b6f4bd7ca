// JSON of the platform interface: parsing is bounded, output is one line. Any thread.
#pragma once

#include "platform/base/String.h"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <optional>
#include <string_view>
#include <vector>

namespace Tessel::Platform::NavigatorJson {

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

inline constexpr std::size_t mostBytes = 64u << 10;

// False if the text is too long, malformed JSON or invalid UTF-8.
inline bool parse(std::string_view text, rapidjson::Document& document) {
  if (text.size() > mostBytes) return false;
  constexpr unsigned flags = rapidjson::kParseIterativeFlag | rapidjson::kParseValidateEncodingFlag;
  document.Parse<flags>(text.data(), text.size());
  return !document.HasParseError();
}

inline String stringOf(const rapidjson::Value& value) {
  return std::string_view(value.GetString(), value.GetStringLength());
}

// The string member of that name; empty if it is missing or not a string.
inline String member(const rapidjson::Value& object, const char* name) {
  if (!object.IsObject()) return String();
  const auto found = object.FindMember(name);
  return found != object.MemberEnd() && found->value.IsString() ? stringOf(found->value) : String();
}

// The elements of an array of strings; none if any element is not a string.
inline std::optional<std::vector<String>> texts(const rapidjson::Value& value) {
  if (!value.IsArray()) return std::nullopt;
  std::vector<String> list;
  for (const rapidjson::Value& element : value.GetArray()) {
    if (!element.IsString()) return std::nullopt;
    list.push_back(stringOf(element));
  }
  return list;
}

inline void write(Writer& writer, const String& value) {
  writer.String(value.utf8(), static_cast<rapidjson::SizeType>(value.length()));
}
inline void write(Writer& writer, const std::vector<String>& values) {
  writer.StartArray();
  for (const String& value : values) write(writer, value);
  writer.EndArray();
}

// Writes one member of an object.
template <typename Value>
void writeMember(Writer& writer, const char* name, const Value& value) {
  writer.Key(name);
  write(writer, value);
}

// The text that the function writes.
template <typename Write>
String text(Write writeAll) {
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  writeAll(writer);
  return std::string_view(buffer.GetString(), buffer.GetSize());
}

inline String list(const std::vector<String>& values) {
  return text([&](Writer& writer) { write(writer, values); });
}

}  // namespace Tessel::Platform::NavigatorJson
