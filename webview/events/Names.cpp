// What the chrome calls events and properties. Any thread.
#include "webview/events/Names.h"

#include "webview/events/NameTable.h"

using Tessel::Platform::String;

namespace {

constexpr NameTable<OrvWebEvent::typeCount> eventTypes({
#define EVENT_TYPE(name) #name,
#include "engine/EventTypes.def"
#undef EVENT_TYPE
});

constexpr NameTable<OrvWebPropertyChangedEvent::propertyCount> properties({
#define PROPERTY(name) #name,
#include "engine/Properties.def"
#undef PROPERTY
});

constexpr NameTable<OrvWebPropertyChangedEvent::propertyCount> propertyEvents({
#define PROPERTY(name) "Property" #name "Event",
#include "engine/Properties.def"
#undef PROPERTY
});

template <std::size_t Count>
void appendMembers(std::string& text, const NameTable<Count>& names) {
  for (std::size_t i = 0; i < Count; ++i) {
    text.append(text.size() > 1 ? ",\"" : "\"").append(names.name(static_cast<int>(i)));
    text.append("\":true");
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
