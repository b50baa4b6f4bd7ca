// The names of events. Any thread.
#include "webview/events/EventType.h"

#include "webview/events/NameTable.h"

#include <array>
#include <string>
#include <vector>

using Tessel::Platform::String;

namespace {

#define NAMED(name) NumberedName{#name, static_cast<int>(EventType::name)},
constexpr NameTable table{std::array{
#define EVENT_TYPE(name, ...) NAMED(name)
#include "engine/EventTypes.def"
#define PROPERTY(name) NAMED(Property##name##Event)
#include "engine/Properties.def"
#define PROGRAM_EVENT(name, record, text) NAMED(name)
#include "webview/events/ProgramEvents.def"
    NAMED(WebProcess)}};
#undef NAMED

}  // namespace

const String& nameOf(EventType type) {
  // Shared with every message and call that carries the name. Their places are their numbers.
  static const auto* texts = [] {
    auto* list = new std::vector<String>;
    for (const NumberedName& entry : table.names()) list->emplace_back(entry.name);
    return list;
  }();
  return texts->at(static_cast<std::size_t>(type));
}

std::optional<EventType> eventTypeFromName(std::string_view name) {
  bool notFound = false;
  const int number = table.number(name, notFound);
  return notFound ? std::nullopt : std::optional(static_cast<EventType>(number));
}

const String& eventNamesCatalogue() {
  static const auto* catalogue = [] {
    std::string text = "{";
    for (const NumberedName& entry : table.names()) {
      // The program's own cannot be enabled.
      if (entry.number == static_cast<int>(EventType::ProcessCrash)) break;
      text.append(text.size() > 1 ? ",\"" : "\"").append(entry.name).append("\":true");
    }
    return new String(text + "}");
  }();
  return *catalogue;
}
