// Records as JSON, written and read by the lists of their fields. Any thread.
#pragma once

#include "engine/FieldLists.h"
#include "engine/JavaScriptVariant.h"
#include "engine/JsonText.h"
#include "engine/ValueField.h"
#include "platform/base/String.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <ranges>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace fields {

using Tessel::Platform::String;

// What is written for a value: the value itself, or something simpler that stands for it.
template <typename T>
struct Form {
  static const T& of(const T& value) { return value; }
};
template <typename T>
struct Form<ValueField<T>> {
  static decltype(auto) of(const ValueField<T>& field) { return Form<T>::of(field()); }
};
template <typename T>
decltype(auto) written(const T& value) {
  return Form<T>::of(value);
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
using ByName = std::map<String, T>;
template <typename T>
inline constexpr bool isByName = false;
template <typename T>
inline constexpr bool isByName<ByName<T>> = true;

template <typename T>
concept List = std::ranges::contiguous_range<T> && !std::is_convertible_v<T, std::string_view>;

template <typename T>
std::size_t room(const T& value) {
  if constexpr (List<T>) {
    std::size_t size = 2;
    for (const auto& element : value) size += 1 + room(written(element));
    return size;
  } else if constexpr (isByName<T>) {
    std::size_t size = 2;
    for (const auto& [name, element] : value) size += 2 + room(name) + room(written(element));
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
  } else if constexpr (isByName<T>) {
    *out++ = '{';
    bool isFirst = true;
    for (const auto& [name, element] : value) {
      if (!std::exchange(isFirst, false)) *out++ = ',';
      out = write(out, name);
      *out++ = ':';
      out = write(out, written(element));
    }
    *out++ = '}';
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
String textOf(const Value& value) {
  return json::textIn(room(value), [&](char* out) { return write(out, value); });
}

// How records are read.
enum class Reading {
  Strict,   // what lacks a member, or has one of another kind, is no record
  Lenient,  // members that are missing or of another kind keep their value
};

// Bytes. Longer texts are read as nothing: they come from pages' servers, other processes, chromes.
inline constexpr std::size_t longestText = 64u << 20;

template <Reading How>
bool read(const rapidjson::Value& json, bool& value) {
  if (json.IsBool()) value = json.GetBool();
  return json.IsBool();
}
// Strictly, numbers count by their integer part, and as the nearest int.
template <Reading How>
bool read(const rapidjson::Value& json, int& value) {
  using Limits = std::numeric_limits<int>;
  if (How == Reading::Strict ? !json.IsNumber() : !json.IsInt()) return false;
  value = static_cast<int>(std::clamp(json.GetDouble(), static_cast<double>(Limits::min()),
                                      static_cast<double>(Limits::max())));
  return true;
}
template <Reading How>
bool read(const rapidjson::Value& json, std::int64_t& value) {
  if (json.IsInt64()) value = json.GetInt64();
  return json.IsInt64();
}
template <Reading How>
bool read(const rapidjson::Value& json, String& value) {
  if (json.IsString()) value = std::string_view(json.GetString(), json.GetStringLength());
  return json.IsString();
}
template <Reading How, typename T>
bool read(const rapidjson::Value& json, ValueField<T>& field);
template <Reading How, typename T>
bool read(const rapidjson::Value& json, std::vector<T>& list);
template <Reading How, typename T>
bool read(const rapidjson::Value& json, ByName<T>& map);
template <Reading How, HasFields Record>
bool read(const rapidjson::Value& json, Record& record);

template <Reading How, typename T>
bool read(const rapidjson::Value& json, ValueField<T>& field) {
  T value{};
  if (!read<How>(json, value)) return false;
  field = std::move(value);
  return true;
}

// What is no element is skipped; in a list of records, and leniently, it is an empty element.
template <Reading How, typename T>
bool read(const rapidjson::Value& json, std::vector<T>& list) {
  if (!json.IsArray()) return false;
  list.clear();
  for (const rapidjson::Value& entry : json.GetArray()) {
    T element{};
    if (read<How>(entry, element) || HasFields<T> || How == Reading::Lenient) {
      list.push_back(std::move(element));
    }
  }
  return true;
}

// Adds to the map; what is no record is an empty one.
template <Reading How, typename T>
bool read(const rapidjson::Value& json, ByName<T>& map) {
  if (!json.IsObject()) return false;
  for (const auto& entry : json.GetObject()) {
    T element{};
    read<How>(entry.value, element);
    map[std::string_view(entry.name.GetString(), entry.name.GetStringLength())] =
        std::move(element);
  }
  return true;
}

// One member of an object; true for what is only written.
template <Reading How, typename Getter, typename Record>
bool readMember(const rapidjson::Value& json, const Field<Getter>& entry, Record& record) {
  if constexpr (std::is_member_object_pointer_v<Getter>) {
    if (entry.readAs.empty()) return true;
    const rapidjson::Value key(rapidjson::StringRef(
        entry.readAs.data(), static_cast<rapidjson::SizeType>(entry.readAs.size())));
    const auto found = json.FindMember(key);
    return found != json.MemberEnd() && read<How>(found->value, record.*entry.get);
  }
  return true;
}

// Strictly, the record is whole or as it was.
template <Reading How, HasFields Record>
bool read(const rapidjson::Value& json, Record& record) {
  if (!json.IsObject()) return false;
  return std::apply(
      [&](const auto&... entry) {
        if constexpr (How == Reading::Lenient) {
          (readMember<How>(json, entry, record), ...);
          return true;
        } else {
          Record whole;
          if (!(readMember<How>(json, entry, whole) && ...)) return false;
          record = std::move(whole);
          return true;
        }
      },
      FieldsOf<Record>::list);
}

// False, and nothing is changed, for what is no JSON of the value's kind.
template <Reading How, typename T>
bool readText(const String& text, T& value) {
  if (text.length() > longestText) return false;
  rapidjson::Document document;
  // Iterative: a text nested a million deep must not exhaust the stack.
  document.Parse<rapidjson::kParseIterativeFlag>(text.utf8(), text.length());
  return !document.HasParseError() && read<How>(document, value);
}

}  // namespace fields
