// The fields of every event and the setters for answers: those of the table of event classes, and
// the few that are computed. Any thread.
//
// Events are written in byte order of their keys, including inherited fields; the order here does
// not matter.
#pragma once

#include "engine/OrvWebEvents.h"
#include "engine/RecordFields.h"
#include "webview/events/Fields.h"

namespace fields {

template <>
struct FieldsOf<OrvWebEvent> {
  static constexpr std::tuple list{
      field("isPost", &OrvWebEvent::isPost),
      field("isSend", &OrvWebEvent::isSend),
      field("type", &OrvWebEvent::type),
  };
};

template <>
struct FieldsOf<OrvWebSendEvent> {
  static constexpr std::tuple list{
      field("isModal", &OrvWebSendEvent::isModal),
      field("isPreventDefault", &OrvWebSendEvent::isPreventDefault),
  };
};
template <>
struct SettersOf<OrvWebSendEvent> {
  static constexpr std::tuple list{
      setter("setModal", &OrvWebSendEvent::setModal),
      setter("setPreventDefault", &OrvWebSendEvent::setPreventDefault),
  };
};

template <>
struct FieldsOf<OrvWebJavaScriptCallbackEvent> {
  static constexpr std::tuple list{
      field("args",
            [](const OrvWebJavaScriptCallbackEvent& event) {
              return std::span<const char* const>(event.args(), event.numArgs());
            }),
      field("numArgs", &OrvWebJavaScriptCallbackEvent::numArgs),
      field("result", &OrvWebJavaScriptCallbackEvent::result),
  };
};
template <>
struct SettersOf<OrvWebJavaScriptCallbackEvent> {
  static constexpr std::tuple list{setter("setResult", &OrvWebJavaScriptCallbackEvent::setResult)};
};

template <>
struct FieldsOf<OrvWebPropertyChangedEvent> {
  static constexpr std::tuple list{field("property", &OrvWebPropertyChangedEvent::property)};
};

// The class name used in error reports.
template <typename Event>
inline constexpr const char* classNameOf = "";
template <>
inline constexpr const char* classNameOf<OrvWebJavaScriptCallbackEvent> =
    "OrvWebJavaScriptCallbackEvent";

#define EVENT(Class, Type, Base)                            \
  template <>                                               \
  inline constexpr const char* classNameOf<Class> = #Class; \
  template <>                                               \
  struct FieldsOf<Class> {                                  \
    using Event = Class;                                    \
    static constexpr std::tuple list {
#define FIELD(type, name) field(#name, &Event::name),
#define LITERAL(name, text) field(#name, [](const Event&) { return text; }),
#define END_EVENT \
  }               \
  ;               \
  }               \
  ;
#include "engine/EventClasses.def"

#define EVENT(Class, Type, Base) \
  template <>                    \
  struct SettersOf<Class> {      \
    using Event = Class;         \
    static constexpr std::tuple list {
#define ANSWER(name, field) setter(#name, &Event::name),
#define END_EVENT \
  }               \
  ;               \
  }               \
  ;
#include "engine/EventClasses.def"

// The class of events of a type; types without fields of their own are plain OrvWebEvents.
template <int Type>
struct EventClass {
  using type = OrvWebEvent;
};
template <>
struct EventClass<OrvWebEvent::JavaScriptCallback> {
  using type = OrvWebJavaScriptCallbackEvent;
};
template <>
struct EventClass<OrvWebEvent::PropertyChanged> {
  using type = OrvWebPropertyChangedEvent;
};
// A second type of the same class.
template <>
struct EventClass<OrvWebEvent::JavaScriptFunctionResultEvent> {
  using type = OrvWebJavaScriptFunctionResultEvent;
};
#define EVENT(Class, Type, Base)         \
  template <>                            \
  struct EventClass<OrvWebEvent::Type> { \
    using type = Class;                  \
  };
#include "engine/EventClasses.def"

}  // namespace fields
