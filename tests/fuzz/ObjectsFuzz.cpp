// The files of shared objects, the lines that programs write into them, and the JSON of both.
#include "bindings/PPSJson.h"
#include "platform/pps/PPSText.h"
#include "tests/fuzz/Fuzz.h"

#include <glib.h>
#include <rapidjson/document.h>

#include <algorithm>

namespace {

using namespace Tessel::Platform;
using fuzz::require;

rapidjson::Document parsed(const std::string& text) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size());
  return document;
}

std::size_t linesIn(const std::string& text) {
  return std::size_t(std::count(text.begin(), text.end(), '\n'));
}

// Invariants of object files and writes to them.
void checkText(const std::string& text) {
  const PPSValue value = parsePPSText("object", text);
  require(value.objectName == String("@object"));
  // Reading and writing again gives the same text, with a line for each attribute.
  const std::string once = formatPPSText(value);
  require(parsePPSText("object", once) == value);
  require(formatPPSText(parsePPSText("object", once)) == once);
  require(linesIn(once) == value.attributes.size() + 1);

  // The JSON for the chrome is valid and has a member for each attribute.
  const std::string json = ppsValueToJson(value).toStdString();
  require(g_utf8_validate_len(json.data(), json.size(), nullptr));
  const rapidjson::Document document = parsed(json);
  require(!document.HasParseError() && document.IsObject() && document.MemberCount() == 1);
  require(document.MemberBegin()->value.MemberCount() == value.attributes.size());
}

// Accepted lines do not change others, and applying them twice has no further effect.
void checkLines(const std::string& text, const std::string& lines) {
  const PPSValue before = parsePPSText("object", text);
  if (problemOfPPSLines(lines)) return;
  PPSValue after = before;
  applyPPSLines(lines, after);
  checkText(formatPPSText(after));
  PPSValue again = after;
  applyPPSLines(lines, again);
  require(again == after);
  for (const auto& [name, attribute] : differenceOf(before, after).attributes) {
    require(("\n" + lines).find("\n" + name.toStdString() + ":") != std::string::npos);
  }
}

// The chrome's JSON gives a line for each member, or is rejected as a whole.
void checkJson(const std::string& json) {
  String problem;
  const auto lines = ppsLinesFromJson(json, problem);
  if (!lines || lines->isEmpty()) return;
  const rapidjson::Document document = parsed(json);
  require(!document.HasParseError() && document.IsObject());
  const std::string text = lines->toStdString();
  require(linesIn(text) == document.MemberCount());
  checkLines("", text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const bool isJson = input.ConsumeBool();
  const std::string lines = input.ConsumeRandomLengthString();
  const std::string text = input.ConsumeRemainingBytesAsString();
  checkText(text);
  checkLines(text, lines);
  if (isJson) checkJson(text);
  return 0;
}
