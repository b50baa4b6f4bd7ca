// The names of every enumeration that crosses to the chrome. Any thread.
#pragma once

#include "engine/Enumerations.h"
#include "webview/events/NameTable.h"

#include <type_traits>

// Specialised for each enumeration: a NameTable named table.
template <typename Enumeration>
struct EnumerationNames {
  static constexpr bool exists = false;
};

#define ENUMERATION(Type, first)         \
  template <>                            \
  struct EnumerationNames<Type> {        \
    using Enumeration = Type;            \
    static constexpr bool exists = true; \
    static constexpr NameTable table {   \
      std::array {
#define NAME(name) NumberedName{#name, static_cast<int>(Enumeration::name)},
#define NAME_AS(name, number) NAME(name)
#define END_ENUMERATION \
  }                     \
  }                     \
  ;                     \
  }                     \
  ;
#include "engine/Enumerations.def"
#undef END_ENUMERATION
#undef NAME_AS
#undef NAME
#undef ENUMERATION

template <typename Type>
concept NamedEnumeration = std::is_enum_v<Type> && EnumerationNames<Type>::exists;

// "" for a value outside the enumeration.
template <NamedEnumeration Type>
constexpr const char* nameOf(Type value) {
  return EnumerationNames<Type>::table.name(static_cast<int>(value));
}

// The value of exactly that name; the one with the number 0, and notFound is set, when there is
// none.
template <NamedEnumeration Type>
constexpr Type fromName(const char* name, bool& notFound) {
  return static_cast<Type>(EnumerationNames<Type>::table.number(name, notFound));
}
