// Which origins may call which native functions. Any thread.
#include "registry/Capabilities.h"

#include "registry/FunctionGroups.h"

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>

#include <algorithm>
#include <array>
#include <utility>

using Tessel::Platform::String;

namespace {

// Every native function, and its group, by their names.
constexpr auto functions = [] {
  auto rows = std::to_array<std::pair<std::string_view, std::string_view>>({
#define DOC(...)
#define FUNCTION(module, name, operation, group, ...) {name, function_groups::group},
#include "registry/NativeFunctions.def"
#undef FUNCTION
#define COMMAND(number, name, ...) {"webview." #name, function_groups::ofCommands},
#define COMMAND_AS(number, name, operation, ...) COMMAND(number, name)
#include "registry/Commands.def"
#undef COMMAND_AS
#undef COMMAND
#undef DOC
  });
  std::ranges::sort(rows);
  return rows;
}();

std::string_view groupOf(std::string_view function) {
  const auto* const found = std::ranges::lower_bound(
      functions, function, {}, &std::pair<std::string_view, std::string_view>::first);
  return found != functions.end() && found->first == function ? found->second : std::string_view();
}

// The names that a pattern stands for, if it is of that kind: "pps." of "pps.*".
std::string_view prefixOf(std::string_view pattern) {
  return pattern.ends_with(".*") ? pattern.substr(0, pattern.size() - 1) : std::string_view();
}

bool covers(std::string_view pattern, std::string_view function, std::string_view group) {
  const std::string_view prefix = prefixOf(pattern);
  return pattern == "*" || pattern == function || (!group.empty() && pattern == group) ||
         (!prefix.empty() && function.starts_with(prefix));
}

bool isPattern(std::string_view text) {
  return std::any_of(std::begin(functions), std::end(functions),
                     [&](const auto& each) { return covers(text, each.first, each.second); });
}

std::string placeOf(const std::string& text, std::size_t offset) {
  const std::string_view before = std::string_view(text).substr(0, offset);
  const auto line = 1 + std::count(before.begin(), before.end(), '\n');
  const auto start = before.rfind('\n');
  const auto column = start == std::string_view::npos ? before.size() + 1 : before.size() - start;
  return std::to_string(line) + ":" + std::to_string(column) + ": ";
}

}  // namespace

std::optional<Capabilities> Capabilities::read(const std::string& json, std::string& problem) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseIterativeFlag>(json.c_str(), json.size());
  if (document.HasParseError()) {
    problem = placeOf(json, document.GetErrorOffset()) +
              rapidjson::GetParseError_En(document.GetParseError());
    return std::nullopt;
  }
  // Of what is read no place is kept: where the text stands first is as good.
  const auto refuse = [&](const std::string& text, const char* why) {
    const auto found = json.find("\"" + text + "\"");
    problem = placeOf(json, found == std::string::npos ? 0 : found) + "\"" + text + "\" " + why;
    return std::nullopt;
  };
  if (!document.IsObject()) {
    problem = placeOf(json, 0) + "it is no JSON object of lists by origin.";
    return std::nullopt;
  }
  Capabilities result;
  for (const auto& member : document.GetObject()) {
    const std::string name(member.name.GetString(), member.name.GetStringLength());
    const Origin origin = Origin::of(name);
    const bool isOwn = name == "self";
    if (!isOwn && origin.text() != String(name)) {
      return refuse(name, "is no origin, such as https://example.org.");
    }
    if (!member.value.IsArray()) return refuse(name, "has no list.");
    Patterns patterns;
    for (const auto& value : member.value.GetArray()) {
      if (!value.IsString()) return refuse(name, "has something else in its list than texts.");
      const std::string pattern(value.GetString(), value.GetStringLength());
      if (!isPattern(pattern))
        return refuse(pattern, "is no native function, and no group of some.");
      patterns.push_back(pattern);
    }
    if (isOwn) {
      result.own_ = std::move(patterns);
    } else {
      result.others_.push_back({origin, std::move(patterns)});
    }
  }
  return result;
}

bool Capabilities::allow(const OrvWebJavaScriptCallbackEvent& call) const {
  if (call.numArgs() == 0 || !call.args()[0]) return true;
  const std::string_view name = call.args()[0];
  const std::string_view group = groupOf(name);
  const auto allows = [&](const Patterns& patterns) {
    return std::any_of(patterns.begin(), patterns.end(),
                       [&](const std::string& each) { return covers(each, name, group); });
  };
  if (call.isOwnCaller()) return allows(own_);
  return std::any_of(others_.begin(), others_.end(), [&](const Entry& entry) {
    return entry.origin.holds(call.callerOrigin().view()) && allows(entry.patterns);
  });
}

std::vector<String> Capabilities::origins() const {
  std::vector<String> texts;
  for (const Entry& entry : others_) texts.push_back(entry.origin.text());
  return texts;
}
