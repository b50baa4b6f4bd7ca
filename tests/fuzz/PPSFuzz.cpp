// Object files and what the chrome writes into them: reading, merging, and the JSON of both. Main
// thread.
#include "bindings/PPSJson.h"
#include "platform/pps/PPSText.h"
#include "tests/fuzz/Fuzzers.h"

#include <glib.h>
#include <rapidjson/document.h>

#include <algorithm>

namespace fuzz {

namespace {

using Tessel::Platform::applyPPSLines;
using Tessel::Platform::differenceOf;
using Tessel::Platform::formatPPSText;
using Tessel::Platform::parsePPSText;
using Tessel::Platform::PPSValue;
using Tessel::Platform::problemOfPPSLines;
using Tessel::Platform::String;

const std::vector<std::string>& attributeNames() {
  static const std::vector<std::string> list{"a",        "b",  "on", "level", "with space",
                                             "\xc3\xa4", "@x", "-x", ""};
  return list;
}

std::string line(test_support::Mutator& mutator) {
  static const std::vector<std::string> encodings{"", "n", "b", "json", "other"};
  std::string text = mutator.oneOf(attributeNames()) + ":";
  if (mutator.below(8) == 0) return text + "\n";
  return text + mutator.oneOf(encodings) + ":" + mutator.oneOf(values()) + "\n";
}

// What a file may say and a program may do with it.
void checkText(const std::string& text) {
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
  rapidjson::Document document;
  document.Parse<rapidjson::kParseIterativeFlag>(json.data(), json.size());
  require(!document.HasParseError() && document.IsObject() && document.MemberCount() == 1,
          "the chrome cannot read its JSON", text);
  require(document.MemberBegin()->value.MemberCount() == value.attributes.size(),
          "another number of members than attributes", text);
}

// Lines that are taken leave all others alone.
bool checkLines(const std::string& text, const std::string& lines) {
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
void checkJson(const std::string& json) {
  Tessel::Platform::String problem;
  const auto lines = ppsLinesFromJson(json, problem);
  if (!lines || lines->isEmpty()) return;
  rapidjson::Document document;
  document.Parse<rapidjson::kParseIterativeFlag>(json.data(), json.size());
  require(!document.HasParseError() && document.IsObject(), "lines of what is no object", json);
  const std::string text = lines->toStdString();
  require(std::size_t(std::count(text.begin(), text.end(), '\n')) == document.MemberCount(),
          "another number of lines than members", json);
  checkLines("", text);
}

}  // namespace

std::vector<std::string> objectTokens() {
  return {":n:", ":b:", ":json:",    "::",     ":\n",
          "\n",  "@",   "@object\n", "true\n", std::string(1, '\0')};
}

void fuzzObjects(test_support::Mutator& mutator, Tally& tally) {
  std::string text = mutator.below(2) == 0 ? "@object\n" : "";
  std::string lines;
  for (auto count = mutator.below(6); count > 0; --count) text += line(mutator);
  for (auto count = 1 + mutator.below(3); count > 0; --count) lines += line(mutator);
  std::string json = object(mutator, attributeNames());
  if (mutator.below(2) == 0) {
    text = mutator.damage(text);
    lines = mutator.damage(lines);
    json = mutator.damage(json);
  }
  checkText(text);
  checkJson(json);
  ++tally.all;
  if (checkLines(text, lines)) ++tally.accepted;
}

}  // namespace fuzz
