// The fields of every event and record, and the setters that an answer may call. A new field is
// one line here. Any thread.
//
// Events are written in byte order of their keys, whatever the order here, together with the
// fields that they inherit; records in the order here.
#pragma once

#include "webview/events/Fields.h"
#include "webview/events/Names.h"

namespace fields {

template <>
struct FieldsOf<OrvWebEvent> {
  static constexpr std::tuple list{
      field("isPost", &OrvWebEvent::isPost),
      field("isSend", &OrvWebEvent::isSend),
      field("type", [](const OrvWebEvent& event) { return eventTypeName(event.type()); }),
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
  static constexpr std::tuple list{
      field("property",
            [](const OrvWebPropertyChangedEvent& event) { return propertyName(event.property()); }),
  };
};

template <>
struct FieldsOf<OrvWebRect> {
  static constexpr std::tuple list{
      field("height", &OrvWebRect::height),
      field("width", &OrvWebRect::width),
      field("x", &OrvWebRect::x),
      field("y", &OrvWebRect::y),
  };
};

template <>
struct FieldsOf<OrvWebHistoryItem> {
  static constexpr std::tuple list{
      field("isPost", &OrvWebHistoryItem::isPost),
      field("originalURL", &OrvWebHistoryItem::originalURL),
      field("title", &OrvWebHistoryItem::title),
      field("url", &OrvWebHistoryItem::url),
  };
};

}  // namespace fields
