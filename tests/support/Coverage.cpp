// Which commands, events and properties the suites have seen at work on the real engine.
#include "tests/support/Coverage.h"

#include "tools/reference/Effect.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

namespace test_support {

namespace {

using Names = std::set<std::string>;

// The table's rows come in pairs: a command, then what is said about it.
Names realCommands() {
  Names names;
  std::string name;
#define COMMAND(number, command, ...) name = "webview." #command;
#define COMMAND_AS(number, command, ...) name = "webview." #command;
#define DOC(effect, ...) \
  if (Effect::effect == Effect::Real) names.insert(name);
#include "registry/Commands.def"
#undef COMMAND
#undef COMMAND_AS
#undef DOC
  return names;
}

// Those that the engine has nothing for, as docs/events.md says; the last of each is no event.
const Names neverRaised{"UpdateWebGLFilter", "RequestUpdateViewport",
                        "JavaScriptFunctionResultEvent", "TypeMax"};
const Names neverChanged{"PluginFullScreen", "CertificateInfo", "ZoomFactor", "PropertyMax"};

Names without(Names names, const Names& others) {
  std::erase_if(names, [&](const std::string& name) { return others.contains(name); });
  return names;
}

Names realEvents() {
  Names names;
#define EVENT_TYPE(name) names.insert(#name);
#include "engine/EventTypes.def"
#undef EVENT_TYPE
  return without(std::move(names), neverRaised);
}

Names realProperties() {
  Names names;
#define PROPERTY(name) names.insert(#name);
#include "engine/Properties.def"
#undef PROPERTY
  return without(std::move(names), neverChanged);
}

Names common(const Names& a, const Names& b) {
  Names both;
  std::set_intersection(a.begin(), a.end(), b.begin(), b.end(), std::inserter(both, both.end()));
  return both;
}

// The events that report changes are named after the properties.
Names propertiesOf(const Names& events) {
  Names names;
  for (const std::string& event : events) {
    constexpr std::string_view before = "Property";
    constexpr std::string_view after = "Event";
    if (event.starts_with(before) && event.ends_with(after)) {
      names.insert(event.substr(before.size(), event.size() - before.size() - after.size()));
    }
  }
  return names;
}

void describe(std::ostream& text, const char* what, const Names& all, const Names& seen) {
  text << "# " << what << ": " << common(all, seen).size() << " of " << all.size();
  const Names missing = without(all, seen);
  if (!missing.empty()) text << "; not seen:";
  for (const std::string& name : missing) text << ' ' << name;
  text << '\n';
}

}  // namespace

void Coverage::take(const std::string& line) {
  std::istringstream words(line);
  std::string mark;
  std::string kind;
  words >> mark >> kind;
  if (mark != "#" || (kind != "called" && kind != "raised")) return;
  Names& names = kind == "called" ? called_ : raised_;
  for (std::string name; words >> name;) names.insert(name);
}

void Coverage::save(const std::filesystem::path& file) const {
  std::filesystem::create_directories(file.parent_path());
  std::ofstream text(file);
  for (const auto& [kind, names] : {std::pair("called", &called_), {"raised", &raised_}}) {
    text << "# " << kind;
    for (const std::string& name : *names) text << ' ' << name;
    text << '\n';
  }
}

bool Coverage::load(const std::filesystem::path& file) {
  std::ifstream text(file);
  for (std::string line; std::getline(text, line);) take(line);
  return text.eof();
}

std::string Coverage::report() const {
  std::ostringstream text;
  describe(text, "commands", realCommands(), called_);
  describe(text, "events", realEvents(), raised_);
  describe(text, "properties", realProperties(), propertiesOf(raised_));
  return text.str();
}

std::size_t Coverage::commands() const {
  return common(realCommands(), called_).size();
}

std::size_t Coverage::events() const {
  return common(realEvents(), raised_).size();
}

std::size_t Coverage::properties() const {
  return common(realProperties(), propertiesOf(raised_)).size();
}

}  // namespace test_support
