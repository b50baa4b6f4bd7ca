// The records that the chrome gives, read from its JSON text. Any thread.
#include "webview/events/RecordReaders.h"

#include "webview/events/RecordFields.h"

#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>

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

// The elements of a list, one by one: whether a number is an integer its text says, and the library
// makes a double of an integer that is too large.
class VariantList : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, VariantList> {
 public:
  std::vector<JavaScriptVariant> values;
  bool isList = false;

  bool Default() { return true; }
  bool Bool(bool value) { return add(value); }
  bool String(const char* text, rapidjson::SizeType length, bool) {
    return add(::String(std::string_view(text, length)));
  }
  bool RawNumber(const char* text, rapidjson::SizeType length, bool) {
    const std::string_view number(text, length);
    const char* const end = number.data() + number.size();
    if (number.find_first_of(".eE") == std::string_view::npos) {
      int value = 0;
      return std::from_chars(number.data(), end, value).ec != std::errc() || add(value);
    }
    double value = 0;
    return std::from_chars(number.data(), end, value).ec != std::errc() || add(value);
  }
  bool StartArray() {
    if (depth_++ == 0) isList = true;
    return true;
  }
  bool EndArray(rapidjson::SizeType) { return leave(); }
  bool StartObject() {
    ++depth_;
    return true;
  }
  bool Key(const char*, rapidjson::SizeType, bool) { return true; }
  bool EndObject(rapidjson::SizeType) { return leave(); }

 private:
  // Lists and objects within are no elements, nor is what they hold.
  bool add(JavaScriptVariant value) {
    if (isList && depth_ == 1) values.push_back(std::move(value));
    return true;
  }
  bool leave() {
    --depth_;
    return true;
  }

  int depth_ = 0;
};

}  // namespace

template <>
bool readRecord(const String& json, std::vector<JavaScriptVariant>& list) {
  if (json.length() > maximumRecordText) return false;
  VariantList elements;
  rapidjson::MemoryStream stream(json.utf8(), json.length());
  rapidjson::Reader reader;
  constexpr unsigned int flags =
      rapidjson::kParseIterativeFlag | rapidjson::kParseNumbersAsStringsFlag;
  if (reader.Parse<flags>(stream, elements).IsError() || !elements.isList) return false;
  list = std::move(elements.values);
  return true;
}

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
#undef READABLE
template std::vector<JavaScriptVariant> recordFromJSON(const String& json);
