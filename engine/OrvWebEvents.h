// The classes of events that carry something of their own, made from their table. See OrvWebEvent
// for their life. UI thread.
#pragma once

#include "engine/Enumerations.h"
#include "engine/JavaScriptVariant.h"
#include "engine/OrvWebEvent.h"
#include "engine/Records.h"
#include "engine/SecurityRecords.h"
#include "engine/ValueField.h"

#include <cstdint>
#include <vector>

class OrvWebView;

#define EVENT(Class, Type, Base)             \
  class Class final : public Base {          \
   public:                                   \
    using String = Tessel::Platform::String; \
    Class() : Base(OrvWebEvent::Type) {}
#define FIELD(type, name) ValueField<type> name;
#define ANSWER(name, field)                        \
  void name(decltype(field)::Parameter newValue) { \
    field = newValue;                              \
  }
#define END_EVENT \
  }               \
  ;
#include "engine/EventClasses.def"
