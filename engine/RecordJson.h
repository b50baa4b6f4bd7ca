// Writes and reads records as JSON, by the lists of their fields. Any thread.
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

// The value to write: the value itself, or its simpler representation.
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

// Returns a reference only if the getter does, that is, to a member of the object.
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

// Like json::room and json::write, for all types of fields.
template <typename T>
std::size_t room(const T& value);
template <typename T>
char* write(char* out, const T& value);

// Writes an object's fields in the given order; the text before each value is a constant.
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

  // Calls use(values, places), reading each value once, so that measured and written text agree.
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

// Calls use() with the value to write for a variant.
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

// How strictly records are read.
enum class Reading {
  Strict,   // a missing member, or one of the wrong type, is an error
  Lenient,  // members that are missing or have the wrong type keep their value
};

// Bytes. Longer texts are rejected: they come from untrusted servers, other processes, chromes.
inline constexpr std::size_t longestText = 64u << 20;

template <Reading How>
bool read(const rapidjson::Value& json, bool& value) {
  if (json.IsBool()) value = json.GetBool();
  return json.IsBool();
}
// In strict mode numbers are truncated to integers and clamped to the range of int.
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

// Malformed elements are skipped; in lists of records, and in lenient mode, they become empty.
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

// Adds to the map; malformed records become empty ones.
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

// Reads one member of an object; true for write-only members.
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

// In strict mode the record is either complete or unchanged.
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

// False, without effect, if the text is not JSON of the value's type.
template <Reading How, typename T>
bool readText(const String& text, T& value) {
  if (text.length() > longestText) return false;
  rapidjson::Document document;
  // Iterative parsing: deeply nested JSON must not exhaust the stack.
  document.Parse<rapidjson::kParseIterativeFlag>(text.utf8(), text.length());
  return !document.HasParseError() && read<How>(document, value);
}

}  // namespace fields
