// The text of an object. Any thread.
#include "platform/pps/PPSText.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace Tessel::Platform {

namespace {

struct Line {
  std::string_view name;
  std::string_view encoding;
  std::string_view value;
  bool removes = false;
};

bool isNameOfAttribute(std::string_view name) {
  return !name.empty() && name.front() != PPSValue::marker &&
         std::none_of(name.begin(), name.end(), [](char character) {
           const auto byte = static_cast<unsigned char>(character);
           return byte < 0x20 || byte == 0x7f;
         });
}

std::optional<Line> parseLine(std::string_view text) {
  Line line;
  const std::size_t first = text.find(':');
  if (first == std::string_view::npos || text.find('\0') != std::string_view::npos) return {};
  line.name = text.substr(0, first);
  if (!isNameOfAttribute(line.name)) return {};
  const std::size_t second = text.find(':', first + 1);
  if (second == std::string_view::npos) {
    line.removes = true;
    return first + 1 == text.size() ? std::optional(line) : std::nullopt;
  }
  line.encoding = text.substr(first + 1, second - first - 1);
  line.value = text.substr(second + 1);
  return line;
}

// Calls visit with each line, including an unterminated last one.
template <typename Visit>
void forEachLine(std::string_view text, Visit&& visit) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    visit(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

void apply(const Line& line, PPSValue& value) {
  if (line.removes) {
    value.attributes.erase(String(line.name));
  } else {
    value.attributes[String(line.name)] = {String(line.encoding), String(line.value)};
  }
}

}  // namespace

PPSValue parsePPSText(const std::string& fileName, std::string_view text) {
  PPSValue value;
  value.objectName = String(PPSValue::marker + fileName);
  forEachLine(text, [&](std::string_view line) {
    if (const auto parsed = parseLine(line)) apply(*parsed, value);
  });
  return value;
}

const char* problemOfPPSLines(std::string_view lines) {
  if (lines.size() > PPSValue::mostBytes) return "it is too long";
  const char* problem = nullptr;
  forEachLine(lines, [&](std::string_view line) {
    if (!parseLine(line)) problem = "it has a line that is no attribute";
  });
  return problem;
}

void applyPPSLines(std::string_view lines, PPSValue& value) {
  forEachLine(lines, [&](std::string_view text) {
    std::optional<Line> line = parseLine(text);
    if (!line) return;
    if (line->encoding == "b" && line->value == "1") line->value = "true";
    if (line->encoding == "b" && line->value == "0") line->value = "false";
    apply(*line, value);
  });
}

std::string formatPPSText(const PPSValue& value) {
  std::string text;
  text.append(value.objectName.view()).push_back('\n');
  for (const auto& [name, attribute] : value.attributes) {
    text.append(name.view()).push_back(':');
    text.append(attribute.encoding.view()).push_back(':');
    text.append(attribute.value.view()).push_back('\n');
  }
  return text;
}

PPSValue differenceOf(const PPSValue& earlier, const PPSValue& later) {
  PPSValue difference;
  difference.objectName = later.objectName;
  for (const auto& [name, attribute] : later.attributes) {
    const auto before = earlier.attributes.find(name);
    if (before == earlier.attributes.end() || before->second != attribute) {
      difference.attributes.emplace(name, attribute);
    }
  }
  for (const auto& [name, attribute] : earlier.attributes) {
    if (!later.attributes.contains(name)) {
      difference.attributes.emplace(name, PPSAttribute{"json", "null"});
    }
  }
  return difference;
}

}  // namespace Tessel::Platform
