// The records that the chrome gives, read from its JSON text. Any thread.
#include "webview/events/RecordReaders.h"

#include "webview/events/RecordFields.h"

#include <algorithm>
#include <cmath>
#include <limits>

using Tessel::Platform::String;

namespace {

using rapidjson::Value;

bool read(const Value& json, bool& value) {
  if (json.IsBool()) value = json.GetBool();
  return json.IsBool();
}
bool read(const Value& json, int& value) {
  if (!json.IsNumber()) return false;
  value = static_cast<int>(std::clamp(json.GetDouble(),
                                      static_cast<double>(std::numeric_limits<int>::min()),
                                      static_cast<double>(std::numeric_limits<int>::max())));
  return true;
}
bool read(const Value& json, String& value) {
  if (!json.IsString()) return false;
  value = std::string_view(json.GetString(), json.GetStringLength());
  return true;
}
bool read(const Value& json, JavaScriptVariant& value) {
  if (json.IsString()) {
    String text;
    read(json, text);
    value = text;
  } else if (json.IsInt()) {
    value = json.GetInt();
  } else if (json.IsDouble() && std::isfinite(json.GetDouble())) {
    // The library takes some numbers that are too large for infinity, which JSON does not know.
    value = json.GetDouble();
  } else if (json.IsBool()) {
    value = json.GetBool();
  } else {
    return false;
  }
  return true;
}
template <typename T>
bool read(const Value& json, ValueField<T>& field) {
  T value{};
  if (!read(json, value)) return false;
  field = std::move(value);
  return true;
}

// One member of an object; true for what is only written.
template <typename Getter, typename Record>
bool readMember(const Value& json, const fields::Field<Getter>& entry, Record& record) {
  if constexpr (std::is_member_object_pointer_v<Getter>) {
    if (entry.readAs.empty()) return true;
    const Value key(rapidjson::StringRef(entry.readAs.data(),
                                         static_cast<rapidjson::SizeType>(entry.readAs.size())));
    const auto found = json.FindMember(key);
    return found != json.MemberEnd() && read(found->value, record.*entry.get);
  }
  return true;
}

// The record is whole or as it was.
template <typename Record>
requires fields::HasFields<Record>
bool read(const Value& json, Record& record) {
  if (!json.IsObject()) return false;
  Record whole;
  const bool good =
      std::apply([&](const auto&... entry) { return (readMember(json, entry, whole) && ...); },
                 fields::FieldsOf<Record>::list);
  if (good) record = std::move(whole);
  return good;
}

template <typename Element>
bool read(const Value& json, std::vector<Element>& list) {
  if (!json.IsArray()) return false;
  std::vector<Element> whole;
  for (const Value& entry : json.GetArray()) {
    Element element{};
    if (read(entry, element) || fields::HasFields<Element>) whole.push_back(std::move(element));
  }
  list = std::move(whole);
  return true;
}

}  // namespace

template <typename Record>
bool readRecord(const String& json, Record& record) {
  if (json.length() > maximumRecordText) return false;
  rapidjson::Document document;
  // Iterative: a text nested a million deep must not exhaust the stack.
  document.Parse<rapidjson::kParseIterativeFlag>(json.utf8(), json.length());
  return !document.HasParseError() && read(document, record);
}

template <typename Record>
Record recordFromJSON(const String& json) {
  Record record{};
  readRecord(json, record);
  return record;
}

#define READABLE(...)                                                \
  template bool readRecord(const String& json, __VA_ARGS__& record); \
  template __VA_ARGS__ recordFromJSON(const String& json);
READABLE(OrvWebRect)
READABLE(OrvWebPoint)
READABLE(OrvWebSize)
READABLE(OrvWebFavicon)
READABLE(std::vector<OrvWebHistoryItem>)
READABLE(std::vector<String>)
READABLE(std::vector<JavaScriptVariant>)
#undef READABLE
