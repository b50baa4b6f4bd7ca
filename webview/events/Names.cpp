// What the chrome calls events and properties. Any thread.
#include "webview/events/Names.h"

#include "webview/events/NameTable.h"

using Tessel::Platform::String;

namespace {

constexpr NameTable eventTypes{std::array{
#define EVENT_TYPE(name) NumberedName{#name, OrvWebEvent::name},
#include "engine/EventTypes.def"
#undef EVENT_TYPE
}};

constexpr NameTable properties{std::array{
#define PROPERTY(name) NumberedName{#name, OrvWebPropertyChangedEvent::name},
#include "engine/Properties.def"
#undef PROPERTY
}};

constexpr NameTable propertyEvents{std::array{
#define PROPERTY(name) NumberedName{"Property" #name "Event", OrvWebPropertyChangedEvent::name},
#include "engine/Properties.def"
#undef PROPERTY
}};

template <std::size_t Count>
void appendMembers(std::string& text, const NameTable<Count>& names) {
  for (const NumberedName& entry : names.names()) {
    text.append(text.size() > 1 ? ",\"" : "\"").append(entry.name).append("\":true");
  }
}

}  // namespace

const char* eventTypeName(int type) {
  return eventTypes.name(type);
}
const char* propertyName(int property) {
  return properties.name(property);
}
const char* propertyEventName(int property) {
  return propertyEvents.name(property);
}

OrvWebEvent::Type eventTypeFromName(const char* name, bool& notFound) {
  return static_cast<OrvWebEvent::Type>(eventTypes.number(name, notFound));
}

OrvWebPropertyChangedEvent::Property propertyFromName(const char* name, bool& notFound) {
  return static_cast<OrvWebPropertyChangedEvent::Property>(properties.number(name, notFound));
}

const String& eventNamesCatalogue() {
  static const auto* catalogue = [] {
    std::string text = "{";
    appendMembers(text, eventTypes);
    appendMembers(text, propertyEvents);
    return new String(text + "}");
  }();
  return *catalogue;
}
