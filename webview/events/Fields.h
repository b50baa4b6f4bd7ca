// How the fields of events and records are listed, once each, and what is derived from the lists:
// the JSON writer and the reader of answers. Any thread: everything is known at compile time.
#pragma once

#include "engine/JavaScriptVariant.h"
#include "engine/OrvWebEvent.h"
#include "engine/Records.h"
#include "engine/SecurityRecords.h"
#include "platform/String.h"
#include "webview/events/EnumerationNames.h"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <array>
#include <functional>
#include <span>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

namespace fields {

using JsonWriter = rapidjson::Writer<rapidjson::StringBuffer>;

// A key and what is written for it: a member function or a plain function of the object. The type
// of its value chooses the encoding.
template <typename Getter>
struct Field {
  std::string_view key;
  Getter get;
};
template <typename Getter>
constexpr Field<Getter> field(std::string_view key, Getter get) {
  return {key, get};
}

// A key of an answer and the event's setter for its value. The type of the parameter says which
// values are taken.
template <typename Method>
struct Setter {
  std::string_view key;
  Method set;
};
template <typename Method>
constexpr Setter<Method> setter(std::string_view key, Method set) {
  return {key, set};
}

// The lists: specialised for each event class (its own fields only) and for each record.
template <typename Class>
struct FieldsOf {
  static constexpr std::tuple<> list{};
};
template <typename Event>
struct SettersOf {
  static constexpr std::tuple<> list{};
};

// Numbers from 0 to the size of a list, in byte order of the keys.
template <typename List>
constexpr auto keyOrder(const List& list) {
  constexpr std::size_t count = std::tuple_size_v<List>;
  std::array<std::string_view, count> keys{};
  std::apply([&](const auto&... entry) { keys = {entry.key...}; }, list);
  std::array<std::size_t, count> order{};
  for (std::size_t i = 0; i < count; ++i) order[i] = i;
  std::sort(order.begin(), order.end(),
            [&](std::size_t a, std::size_t b) { return keys[a] < keys[b]; });
  for (std::size_t i = 1; i < count; ++i) {
    if (keys[order[i - 1]] == keys[order[i]]) throw "a key stands twice";
  }
  return order;
}

// Walks a list, given as a type with a constexpr member named list, in byte order of its keys.
template <typename Holder, typename Visit>
void forEachInKeyOrder(Visit&& visit) {
  static constexpr auto order = keyOrder(Holder::list);
  [&]<std::size_t... I>(std::index_sequence<I...>) {
    (visit(std::get<order[I]>(Holder::list)), ...);
  }
  (std::make_index_sequence<order.size()>());
}

inline void write(JsonWriter& writer, bool value) {
  writer.Bool(value);
}
inline void write(JsonWriter& writer, int value) {
  writer.Int(value);
}
inline void write(JsonWriter& writer, unsigned int value) {
  writer.Uint(value);
}
inline void write(JsonWriter& writer, std::uint64_t value) {
  writer.Uint64(value);
}
inline void write(JsonWriter& writer, double value) {
  const std::string text = Tessel::Platform::formatNumberText(value);
  writer.RawValue(text.data(), text.size(), rapidjson::kNumberType);
}
inline void write(JsonWriter& writer, std::string_view text) {
  writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}
inline void write(JsonWriter& writer, const Tessel::Platform::String& text) {
  write(writer, text.view());
}
inline void write(JsonWriter& writer, const char* text) {
  write(writer, std::string_view(text ? text : ""));
}

template <NamedEnumeration Type>
void write(JsonWriter& writer, Type value) {
  write(writer, nameOf(value));
}
inline void write(JsonWriter& writer, const JavaScriptVariant& value) {
  switch (value.type()) {
    case JavaScriptVariant::Number:
      return write(writer, value.numberValue());
    case JavaScriptVariant::Text:
      return write(writer, value.stringValue());
    case JavaScriptVariant::Boolean:
      return write(writer, value.booleanValue());
    default:
      return write(writer, "");
  }
}
// A record that brings its own text.
inline void write(JsonWriter& writer, const SSLConnectionInfo& value) {
  const Tessel::Platform::String text = value.serialize();
  writer.RawValue(text.utf8(), text.length(), rapidjson::kObjectType);
}
// A web view goes by its handle.
void write(JsonWriter& writer, const OrvWebView* view);

// A record is an object with its fields in the order of their list.
template <typename Record>
requires(std::tuple_size_v<std::remove_const_t<decltype(FieldsOf<Record>::list)>> >
         0) void write(JsonWriter& writer, const Record& record) {
  writer.StartObject();
  std::apply(
      [&](const auto&... entry) {
        ((writer.Key(entry.key.data(), static_cast<rapidjson::SizeType>(entry.key.size())),
          write(writer, std::invoke(entry.get, record))),
         ...);
      },
      FieldsOf<Record>::list);
  writer.EndObject();
}

template <typename Element>
void write(JsonWriter& writer, std::span<const Element> list) {
  writer.StartArray();
  for (const Element& element : list) write(writer, element);
  writer.EndArray();
}
template <typename Element>
void write(JsonWriter& writer, const std::vector<Element>& list) {
  write(writer, std::span<const Element>(list));
}

// What the body writes, as a text. Buffer and writer are kept for the next one, which saves two
// allocations; bodies do not nest.
template <typename Body>
Tessel::Platform::String jsonText(Body&& body) {
  constexpr std::size_t worthKeeping = 64 << 10;
  struct Scratch {
    rapidjson::StringBuffer buffer;
    JsonWriter writer{buffer};
  };
  thread_local Scratch scratch;
  auto& [buffer, writer] = scratch;
  buffer.Clear();
  writer.Reset(buffer);
  body(writer);
  Tessel::Platform::String text(std::string_view(buffer.GetString(), buffer.GetSize()));
  if (buffer.GetSize() > worthKeeping) {
    buffer.Clear();
    buffer.ShrinkToFit();
  }
  return text;
}

template <typename Value>
Tessel::Platform::String textOf(const Value& value) {
  return jsonText([&](JsonWriter& writer) { write(writer, value); });
}

// An answer that is being applied: what is wrong with a word of it is the chrome's mistake, and it
// is told which function it made it in.
struct AnswerErrors {
  const char* function;
  void report(const char* word) const;
};

// Calls the setter when the value is of a kind that it takes; an absent one is null.
template <typename Event, typename Base>
void apply(Event& event, void (Base::*set)(bool), const rapidjson::Value* value,
           const AnswerErrors&) {
  if (value && value->IsBool()) (event.*set)(value->GetBool());
}
template <typename Event, typename Base>
void apply(Event& event, void (Base::*set)(int), const rapidjson::Value* value,
           const AnswerErrors&) {
  if (value && value->IsInt()) (event.*set)(value->GetInt());
}
template <typename Event, typename Base>
void apply(Event& event, void (Base::*set)(unsigned int), const rapidjson::Value* value,
           const AnswerErrors&) {
  if (value && value->IsUint()) (event.*set)(value->GetUint());
}
template <typename Event, typename Base, NamedEnumeration Type>
void apply(Event& event, void (Base::*set)(Type), const rapidjson::Value* value,
           const AnswerErrors& errors) {
  if (!value || !value->IsString()) return;
  bool notFound = false;
  const Type number = fromName<Type>(value->GetString(), notFound);
  if (notFound) return errors.report(value->GetString());
  (event.*set)(number);
}
// A handle in decimal; false, and the mistake is reported, when it names no web view.
bool webViewFrom(const char* handle, const AnswerErrors& errors, OrvWebView*& view);
template <typename Event, typename Base>
void apply(Event& event, void (Base::*set)(OrvWebView*), const rapidjson::Value* value,
           const AnswerErrors& errors) {
  OrvWebView* view = nullptr;
  if (value && value->IsString() && webViewFrom(value->GetString(), errors, view)) {
    (event.*set)(view);
  }
}
template <typename Event, typename Base>
void apply(Event& event, void (Base::*set)(const Tessel::Platform::String&),
           const rapidjson::Value* value, const AnswerErrors&) {
  // No text is the empty text; something else is no text at all.
  if (!value || value->IsNull()) return (event.*set)(Tessel::Platform::String());
  if (value->IsString()) (event.*set)(Tessel::Platform::String(value->GetString()));
}

}  // namespace fields
