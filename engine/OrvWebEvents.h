// The classes of events that carry something of their own, made from their table. See OrvWebEvent
// for their life. UI thread.
#pragma once

#include "engine/Enumerations.h"
#include "engine/JavaScriptVariant.h"
#include "engine/OrvWebEvent.h"
#include "engine/Records.h"
#include "engine/SecurityRecords.h"

#include <cstdint>
#include <type_traits>
#include <vector>

class OrvWebView;

// A value that is read by calling it, as every accessor is, and set by assignment.
template <typename T>
class EventField {
 public:
  using Parameter = std::conditional_t<std::is_scalar_v<T>, T, const T&>;

  EventField& operator=(T value) {
    value_ = std::move(value);
    return *this;
  }
  const T& operator()() const { return value_; }

 private:
  T value_{};
};

#define EVENT(Class, Type, Base)             \
  class Class final : public Base {          \
   public:                                   \
    using String = Tessel::Platform::String; \
    Class() : Base(OrvWebEvent::Type) {}
#define FIELD(type, name) EventField<type> name;
#define LITERAL(name, text)
#define ANSWER(name, field)                        \
  void name(decltype(field)::Parameter newValue) { \
    field = newValue;                              \
  }
#define END_EVENT \
  }               \
  ;
#include "engine/EventClasses.def"
#undef END_EVENT
#undef ANSWER
#undef LITERAL
#undef FIELD
#undef EVENT
