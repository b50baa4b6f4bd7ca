// What must hold for any texts as files of shared objects, as lines that are written into them, and
// as the chrome's JSON. Any thread.
#pragma once

#include "bindings/PPSJson.h"
#include "platform/pps/PPSText.h"

#include <glib.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <string>

namespace pps_rules {

using Tessel::Platform::applyPPSLines;
using Tessel::Platform::differenceOf;
using Tessel::Platform::formatPPSText;
using Tessel::Platform::parsePPSText;
using Tessel::Platform::PPSValue;
using Tessel::Platform::problemOfPPSLines;
using Tessel::Platform::String;

// Whoever checks says what happens when a rule is broken, with the text that breaks it.
void require(bool holds, const char* what, const std::string& text);

inline rapidjson::Document parsed(const std::string& text) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size());
  return document;
}

// What a file may say and a program may do with it.
inline void checkText(const std::string& text) {
  const PPSValue value = parsePPSText("object", text);
  require(value.objectName == String("@object"), "an object has another name", text);
  const std::string once = formatPPSText(value);
  require(parsePPSText("object", once) == value, "what was written is read as something else",
          text);
  require(formatPPSText(parsePPSText("object", once)) == once, "another text each time", text);
  require(std::size_t(std::count(once.begin(), once.end(), '\n')) == value.attributes.size() + 1,
          "another number of lines than attributes", text);

  const std::string json = ppsValueToJson(value).toStdString();
  require(g_utf8_validate_len(json.data(), json.size(), nullptr), "JSON that is no UTF-8", text);
  const rapidjson::Document document = parsed(json);
  require(!document.HasParseError() && document.IsObject() && document.MemberCount() == 1,
          "the chrome cannot read its JSON", text);
  require(document.MemberBegin()->value.MemberCount() == value.attributes.size(),
          "another number of members than attributes", text);
}

// Lines that are taken leave all others alone.
inline bool checkLines(const std::string& text, const std::string& lines) {
  const PPSValue before = parsePPSText("object", text);
  if (problemOfPPSLines(lines)) return false;
  PPSValue after = before;
  applyPPSLines(lines, after);
  checkText(formatPPSText(after));
  PPSValue again = after;
  applyPPSLines(lines, again);
  require(again == after, "the same lines twice make a difference", lines);
  for (const auto& [name, attribute] : differenceOf(before, after).attributes) {
    require(("\n" + lines).find("\n" + name.toStdString() + ":") != std::string::npos,
            "an attribute has changed that was not named", lines);
  }
  return true;
}

// The chrome's JSON has a line for each member, or none at all.
inline void checkJson(const std::string& json) {
  Tessel::Platform::String problem;
  const auto lines = ppsLinesFromJson(json, problem);
  if (!lines || lines->isEmpty()) return;
  const rapidjson::Document document = parsed(json);
  require(!document.HasParseError() && document.IsObject(), "lines of what is no object", json);
  const std::string text = lines->toStdString();
  require(std::size_t(std::count(text.begin(), text.end(), '\n')) == document.MemberCount(),
          "another number of lines than members", json);
  checkLines("", text);
}

}  // namespace pps_rules
