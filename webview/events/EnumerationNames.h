// The names of the enumerations in the chrome's interface. Any thread.
#pragma once

#include "engine/Enumerations.h"
#include "engine/OrvWebEvent.h"
#include "webview/events/NameTable.h"

#include <type_traits>

// Specialised per enumeration, with a NameTable named table.
template <typename Enumeration>
struct EnumerationNames {
  static constexpr bool exists = false;
};

#define NAMES_OF(Type)                   \
  template <>                            \
  struct EnumerationNames<Type> {        \
    using Enumeration = Type;            \
    static constexpr bool exists = true; \
    static constexpr NameTable table {   \
      std::array {
#define NUMBERED(name) NumberedName{#name, static_cast<int>(Enumeration::name)},
#define END_NAMES \
  }               \
  }               \
  ;               \
  }               \
  ;

#define ENUMERATION(Type, first) NAMES_OF(Type)
#define NAME(name) NUMBERED(name)
#define END_ENUMERATION END_NAMES
#include "engine/Enumerations.def"

NAMES_OF(OrvWebPropertyChangedEvent::Property)
#define PROPERTY(name) NUMBERED(name)
#include "engine/Properties.def"
END_NAMES

// For event types in events' JSON; see EventType for all event names.
NAMES_OF(OrvWebEvent::Type)
#define EVENT_TYPE(name, ...) NUMBERED(name)
#include "engine/EventTypes.def"
END_NAMES
#undef END_NAMES
#undef NUMBERED
#undef NAMES_OF

template <typename Type>
concept NamedEnumeration = std::is_enum_v<Type> && EnumerationNames<Type>::exists;

// "" for a value out of range.
template <NamedEnumeration Type>
constexpr const char* nameOf(Type value) {
  return EnumerationNames<Type>::table.name(static_cast<int>(value));
}

// The value of that name; the one numbered 0, with notFound set, if there is none.
template <NamedEnumeration Type>
constexpr Type fromName(const char* name, bool& notFound) {
  return static_cast<Type>(EnumerationNames<Type>::table.number(name ? name : "", notFound));
}
