// Between the chrome's JSON and the attributes of objects. Any thread.
#include "bindings/PPSJson.h"

#include "platform/base/JsonWriter.h"

#include <glib.h>
#include <rapidjson/document.h>
#include <rapidjson/reader.h>

#include <cerrno>
#include <cmath>
#include <string>
#include <string_view>

using Tessel::Platform::concat;
using Tessel::Platform::PPSAttribute;
using Tessel::Platform::PPSValue;
using Tessel::Platform::String;

namespace {

using Writer = Tessel::Platform::JsonWriter;

// Of objects and arrays within each other: writing them anew goes down by calls.
constexpr int deepest = 64;

bool isTooDeep(std::string_view json) {
  int depth = 0;
  bool inText = false;
  for (std::size_t i = 0; i < json.size(); ++i) {
    const char character = json[i];
    if (inText) {
      if (character == '\\') ++i;
      inText = character != '"';
    } else if (character == '"') {
      inText = true;
    } else if (character == '{' || character == '[') {
      if (++depth > deepest) return true;
    } else if (character == '}' || character == ']') {
      --depth;
    }
  }
  return false;
}

// Whether it is the JSON of an object, however deep.
bool isObject(const String& json) {
  const std::size_t first = json.view().find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos || json.view()[first] != '{') return false;
  rapidjson::Reader reader;
  rapidjson::StringStream stream(json.utf8());
  rapidjson::BaseReaderHandler<> nobody;
  return !reader
              .Parse<rapidjson::kParseIterativeFlag | rapidjson::kParseValidateEncodingFlag>(stream,
                                                                                             nobody)
              .IsError();
}

// False for malformed JSON.
bool parse(std::string_view json, rapidjson::Document& document) {
  if (isTooDeep(json)) return false;
  document.Parse<rapidjson::kParseIterativeFlag | rapidjson::kParseValidateEncodingFlag>(
      json.data() ? json.data() : "", json.size());
  if (document.HasParseError()) return false;
  // Some numbers just beyond the largest are read as infinite: the library's own writer refuses
  // them.
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  return document.Accept(writer);
}

void writeText(Writer& writer, std::string_view text) {
  writer.String(text.data() ? text.data() : "", static_cast<rapidjson::SizeType>(text.size()));
}

// Files may hold any bytes, and JSON halves of characters.
String validText(const char* text, std::size_t length) {
  if (g_utf8_validate_len(text, length, nullptr)) return std::string_view(text, length);
  char* const valid = g_utf8_make_valid(text, static_cast<gssize>(length));
  String result(valid);
  g_free(valid);
  return result;
}

// The number at the start of the text; empty if there is none or it is not finite.
std::optional<double> numberOf(const String& text) {
  errno = 0;
  char* end = nullptr;
  const double number = g_ascii_strtod(text.utf8(), &end);
  if (end == text.utf8() || errno == ERANGE || errno == EINVAL || !std::isfinite(number)) return {};
  return number;
}

void writeValue(Writer& writer, const PPSAttribute& attribute) {
  const std::string_view encoding = attribute.encoding.view();
  if (encoding == "b") {
    writer.Bool(attribute.value.view() == "true");
    return;
  }
  if (encoding == "n") {
    if (const auto number = numberOf(attribute.value)) {
      writer.Double(*number);
      return;
    }
  }
  if (encoding == "json") {
    rapidjson::Document document;
    if (parse(attribute.value.view(), document)) {
      document.Accept(writer);
      return;
    }
  }
  writeText(writer, attribute.value.view());
}

std::string_view textOf(const rapidjson::Value& value) {
  return {value.GetString(), value.GetStringLength()};
}

// The encoding and the value, with the colon between them; nothing for null.
String encoded(const rapidjson::Value& value) {
  if (value.IsNull()) return {};
  if (value.IsBool()) return value.GetBool() ? "b:1" : "b:0";
  if (value.IsNumber()) {
    return concat("n:", Tessel::Platform::formatNumberText(value.GetDouble()));
  }
  if (value.IsString()) return concat(":", textOf(value));
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  value.Accept(writer);
  return concat("json:", std::string_view(buffer.GetString(), buffer.GetSize()));
}

}  // namespace

String ppsValueToJson(const PPSValue& value) {
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  writer.StartObject();
  if (!value.objectName.isEmpty()) {
    writeText(writer, value.objectName.view().substr(1));
    writer.StartObject();
    for (const auto& [name, attribute] : value.attributes) {
      writeText(writer, name.view());
      writeValue(writer, attribute);
    }
    writer.EndObject();
  }
  writer.EndObject();
  return validText(buffer.GetString(), buffer.GetSize());
}

std::optional<String> ppsLinesFromJson(const String& json, String& problem) {
  if (isTooDeep(json.view())) {
    if (!isObject(json)) return String();
    problem = "The JSON is nested too deep: nothing was written";
    return std::nullopt;
  }
  rapidjson::Document document;
  if (!parse(json.view(), document) || !document.IsObject()) return String();
  std::string lines;
  for (const auto& [name, value] : document.GetObject()) {
    const std::string_view nameText = textOf(name);
    const String rest = encoded(value);
    if (nameText.find_first_of(":\n") != std::string_view::npos ||
        rest.view().find('\n') != std::string_view::npos) {
      problem =
          "Names of attributes have neither colons nor line breaks, and texts no line breaks: "
          "nothing was written";
      return std::nullopt;
    }
    lines.append(nameText).append(":").append(rest.view()).append("\n");
  }
  return validText(lines.data(), lines.size());
}
