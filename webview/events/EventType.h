// What the chrome is told of a web view. An event keeps its type until the chrome is called; only
// there, and in messages to another process, it has a name. Any thread.
#pragma once

#include "engine/OrvWebEvent.h"
#include "platform/base/String.h"

#include <optional>
#include <string_view>

// The engine's events by their own numbers, the event that reports a change for each property, and
// what the program itself has to tell.
enum class EventType : int {
#define EVENT_TYPE(name, ...) name,
#include "engine/EventTypes.def"
#define PROPERTY(name) Property##name##Event,
#include "engine/Properties.def"
#define PROGRAM_EVENT(name, record, text) name,
#include "webview/events/ProgramEvents.def"
  WebProcess,  // tells the main process which process has the page now; not the chrome
};

static_assert(static_cast<int>(EventType::TypeMax) == OrvWebEvent::TypeMax);
// Of a number that OrvWebEvent::Type names.
constexpr EventType eventTypeOf(OrvWebEvent::Type type) {
  return static_cast<EventType>(type);
}
// The event that reports a change of that property.
constexpr EventType changeOf(OrvWebPropertyChangedEvent::Property property) {
  return static_cast<EventType>(OrvWebEvent::typeCount + property);
}

// As the chrome knows it; a text that lives as long as the program.
const Tessel::Platform::String& nameOf(EventType type);
// The event of exactly that name.
std::optional<EventType> eventTypeFromName(std::string_view name);

// A JSON object with a member, true, for each event and then for each property's event.
const Tessel::Platform::String& eventNamesCatalogue();
