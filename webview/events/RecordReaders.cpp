// Parses records from the chrome's JSON. Any thread.
#include "webview/events/RecordReaders.h"

#include "engine/RecordFields.h"
#include "engine/RecordJson.h"

#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <charconv>
#include <system_error>

using Tessel::Platform::String;

namespace {

// Collects the elements of an array by SAX events: rapidjson converts integers that are too large
// to doubles, so that the number's text is needed.
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
  // Nested arrays and objects are skipped, with their contents.
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
  return fields::readText<fields::Reading::Strict>(json, record);
}

#define READABLE(...) template bool readRecord(const String& json, __VA_ARGS__& record);
READABLE(OrvWebRect)
READABLE(OrvWebPoint)
READABLE(OrvWebSize)
READABLE(OrvWebFavicon)
READABLE(std::vector<OrvWebHistoryItem>)
READABLE(std::vector<String>)
#undef READABLE
