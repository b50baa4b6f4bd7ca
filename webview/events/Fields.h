// How the fields of events and records are listed, once each, and what is derived from the lists:
// the JSON writer and the reader of answers. Any thread: everything is known at compile time.
#pragma once

#include "engine/JavaScriptVariant.h"
#include "engine/OrvWebEvent.h"
#include "engine/Records.h"
#include "engine/SecurityRecords.h"
#include "platform/base/JsonWriter.h"
#include "platform/base/String.h"
#include "webview/events/EnumerationNames.h"
#include "webview/events/JsonText.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <array>
#include <functional>
#include <ranges>
#include <span>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

class OrvWebView;

namespace fields {

using Tessel::Platform::JsonWriter;

// A key and what is written for it: a member function or a plain function of the object, or a
// member of it. The type of its value chooses the encoding.
template <typename Getter>
struct Field {
  std::string_view key;
  Getter get;
  std::string_view readAs{};  // the key to read the member from; "" when it is only written
};
template <typename Getter>
constexpr Field<Getter> field(std::string_view key, Getter get) {
  return {key, get};
}
template <typename Class, typename Value>
constexpr Field<Value Class::*> member(std::string_view key, Value Class::*value,
                                       std::string_view readAs) {
  return {key, value, readAs};
}
template <typename Class, typename Value>
constexpr Field<Value Class::*> member(std::string_view key, Value Class::*value) {
  return {key, value, key};
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

// The holder of a list is a type with a constexpr member of that name.
template <typename Holder>
inline constexpr auto keyOrderOf = keyOrder(Holder::list);
template <typename Holder>
inline constexpr auto listOrderOf = [] {
  std::array<std::size_t, std::tuple_size_v<decltype(Holder::list)>> order{};
  for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
  return order;
}();

// Walks a list in byte order of its keys.
template <typename Holder, typename Visit>
void forEachInKeyOrder(Visit&& visit) {
  static constexpr auto& order = keyOrderOf<Holder>;
  [&]<std::size_t... I>(std::index_sequence<I...>) {
    (visit(std::get<order[I]>(Holder::list)), ...);
  }
  (std::make_index_sequence<order.size()>());
}

// What is written for a value: the value itself, or something simpler that stands for it.
template <typename T>
const T& written(const T& value) {
  return value;
}
template <NamedEnumeration Type>
json::PlainText written(const Type& value) {
  return {nameOf(value)};
}
// A record that brings its own text.
inline json::RawText written(const SSLConnectionInfo& value) {
  return {value.serialize()};
}
// A web view goes by its handle.
Tessel::Platform::String written(const OrvWebView* view);
inline Tessel::Platform::String written(OrvWebView* view) {
  return written(static_cast<const OrvWebView*>(view));
}
template <typename T>
decltype(auto) written(const ValueField<T>& field) {
  return written(field());
}

// A reference only to what the object itself holds.
template <typename Getter, typename Object>
decltype(auto) valueOf(const Getter& get, const Object& object) {
  using Result = std::invoke_result_t<const Getter&, const Object&>;
  if constexpr (std::is_reference_v<Result>) {
    return written(std::invoke(get, object));
  } else {
    return std::decay_t<decltype(written(std::invoke(get, object)))>(
        written(std::invoke(get, object)));
  }
}

template <typename Record>
concept HasFields = std::tuple_size_v<std::remove_const_t<decltype(FieldsOf<Record>::list)>> >
0;

// As json's two, of all that can be a field.
template <typename T>
std::size_t room(const T& value);
template <typename T>
char* write(char* out, const T& value);

// An object and its fields in an order; what stands before each value is made at compile time.
template <typename Holder, const auto& Order>
struct ObjectText {
  template <std::size_t I>
  static constexpr const auto& entry() {
    return std::get<Order[I]>(Holder::list);
  }

  // {"key": or ,"key":
  template <std::size_t I>
  static constexpr auto before = [] {
    constexpr std::string_view key = entry<I>().key;
    std::array<char, key.size() + 4> text{};
    std::copy(key.begin(), key.end(), text.begin() + 2);
    text[0] = I == 0 ? '{' : ',';
    text[1] = text[key.size() + 2] = '"';
    text[key.size() + 3] = ':';
    return text;
  }();

  // Calls use(values...), each read once: what is measured is what is written.
  template <typename Object, typename Use>
  static auto withValues(const Object& object, Use&& use) {
    return [&]<std::size_t... I>(std::index_sequence<I...> places) {
      const std::tuple<decltype(valueOf(entry<I>().get, object))...> values(
          valueOf(entry<I>().get, object)...);
      return use(values, places);
    }
    (std::make_index_sequence<Order.size()>());
  }
  template <typename Values, std::size_t... I>
  static std::size_t room(const Values& values, std::index_sequence<I...>) {
    constexpr std::size_t keys = (before<I>.size() + ... + 1);
    return (keys + ... + fields::room(std::get<I>(values)));
  }
  template <typename Values, std::size_t... I>
  static char* write(char* out, const Values& values, std::index_sequence<I...>) {
    ((out = fields::write(json::copy(out, {before<I>.data(), before<I>.size()}),
                          std::get<I>(values))),
     ...);
    *out++ = '}';
    return out;
  }
};

template <typename Record>
using RecordText = ObjectText<FieldsOf<Record>, listOrderOf<FieldsOf<Record>>>;

// Calls use() with what is written for a variant.
template <typename Use>
auto withVariant(const JavaScriptVariant& value, Use&& use) {
  switch (value.type()) {
    case JavaScriptVariant::Number:
      return use(value.numberValue());
    case JavaScriptVariant::Text:
      return use(value.stringValue());
    case JavaScriptVariant::Boolean:
      return use(value.booleanValue());
    default:
      return use(json::PlainText{});
  }
}

template <typename T>
concept List = std::ranges::contiguous_range<T> && !std::is_convertible_v<T, std::string_view>;

template <typename T>
std::size_t room(const T& value) {
  if constexpr (List<T>) {
    std::size_t size = 2;
    for (const auto& element : value) size += 1 + room(written(element));
    return size;
  } else if constexpr (std::is_same_v<T, JavaScriptVariant>) {
    return withVariant(value, [](const auto& known) { return json::room(known); });
  } else if constexpr (HasFields<T>) {
    return RecordText<T>::withValues(
        value, [](const auto& values, auto places) { return RecordText<T>::room(values, places); });
  } else {
    return json::room(value);
  }
}
template <typename T>
char* write(char* out, const T& value) {
  if constexpr (List<T>) {
    *out++ = '[';
    for (const auto& element : value) {
      if (&element != std::data(value)) *out++ = ',';
      out = write(out, written(element));
    }
    *out++ = ']';
    return out;
  } else if constexpr (std::is_same_v<T, JavaScriptVariant>) {
    return withVariant(value, [&](const auto& known) { return json::write(out, known); });
  } else if constexpr (HasFields<T>) {
    return RecordText<T>::withValues(value, [&](const auto& values, auto places) {
      return RecordText<T>::write(out, values, places);
    });
  } else {
    return json::write(out, value);
  }
}

template <typename Value>
Tessel::Platform::String textOf(const Value& value) {
  return json::textIn(room(value), [&](char* out) { return write(out, value); });
}

// What the body writes with a writer of its own.
template <typename Body>
Tessel::Platform::String jsonText(Body&& body) {
  rapidjson::StringBuffer buffer;
  JsonWriter writer(buffer);
  body(writer);
  return std::string_view(buffer.GetString(), buffer.GetSize());
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
