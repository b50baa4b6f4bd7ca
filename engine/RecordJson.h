// JSON of plain records: a record lists its members once, and both directions follow from that.
// Any thread.
//
//   template <> struct record_json::Members<Point> {
//     static constexpr std::tuple list{member("x", &Point::x), member("y", &Point::y)};
//   };
#pragma once

#include "platform/base/String.h"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdint>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

namespace record_json {

using Tessel::Platform::String;
using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

// Longer texts are refused: what is read comes from pages' servers and from chromes.
inline constexpr std::size_t maximumText = 64u << 20;

template <typename Record, typename Value>
struct Member {
  const char* key;
  Value Record::*field;
};
template <typename Record, typename Value>
constexpr Member<Record, Value> member(const char* key, Value Record::*field) {
  return {key, field};
}

template <typename Record>
struct Members;

inline void write(Writer& writer, const String& value) {
  writer.String(value.utf8(), static_cast<rapidjson::SizeType>(value.length()));
}
inline void write(Writer& writer, bool value) {
  writer.Bool(value);
}
inline void write(Writer& writer, int value) {
  writer.Int(value);
}
inline void write(Writer& writer, std::int64_t value) {
  writer.Int64(value);
}
template <typename Record>
void write(Writer& writer, const Record& record);
template <typename T>
void write(Writer& writer, const std::vector<T>& list) {
  writer.StartArray();
  for (const T& element : list) write(writer, element);
  writer.EndArray();
}
template <typename Record>
void write(Writer& writer, const Record& record) {
  writer.StartObject();
  std::apply(
      [&](const auto&... entry) {
        ((writer.Key(entry.key), write(writer, record.*entry.field)), ...);
      },
      Members<Record>::list);
  writer.EndObject();
}

inline void read(const rapidjson::Value& json, String& value) {
  if (json.IsString()) value = std::string_view(json.GetString(), json.GetStringLength());
}
inline void read(const rapidjson::Value& json, bool& value) {
  if (json.IsBool()) value = json.GetBool();
}
inline void read(const rapidjson::Value& json, int& value) {
  if (json.IsInt()) value = json.GetInt();
}
inline void read(const rapidjson::Value& json, std::int64_t& value) {
  if (json.IsInt64()) value = json.GetInt64();
}
template <typename Record>
void read(const rapidjson::Value& json, Record& record);
template <typename T>
void read(const rapidjson::Value& json, std::vector<T>& list) {
  if (!json.IsArray()) return;
  list.clear();
  for (const rapidjson::Value& element : json.GetArray()) read(element, list.emplace_back());
}
template <typename Record>
void read(const rapidjson::Value& json, Record& record) {
  if (!json.IsObject()) return;
  std::apply(
      [&](const auto&... entry) {
        const auto one = [&](const auto& it) {
          const auto found = json.FindMember(it.key);
          if (found != json.MemberEnd()) read(found->value, record.*it.field);
        };
        (one(entry), ...);
      },
      Members<Record>::list);
}

// False for anything but a JSON object of a sensible size.
inline bool parse(const String& text, rapidjson::Document& document) {
  if (text.length() > maximumText) return false;
  // Iterative: a text nested a million deep must not exhaust the stack.
  document.Parse<rapidjson::kParseIterativeFlag>(text.utf8(), text.length());
  return !document.HasParseError() && document.IsObject();
}

template <typename Record>
String textOf(const Record& record) {
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  write(writer, record);
  return std::string_view(buffer.GetString(), buffer.GetSize());
}

}  // namespace record_json
