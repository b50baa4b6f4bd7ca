// Forwards events of web views to the chrome, and applies its answers. UI thread.
#pragma once

#include "engine/OrvWebEvent.h"
#include "platform/base/String.h"
#include "webview/events/EventType.h"

class OrvWebView;

// The destination of a web view's events: the manager in the process that has the chrome.
class EventSink {
 public:
  using String = Tessel::Platform::String;

  virtual ~EventSink() = default;
  virtual void post(EventType event, const String& data) = 0;
  // Returns the chrome's answer; empty if there is none.
  virtual String send(EventType event, const String& data) = 0;
};

// Serialises an event and passes it on; an answer is applied to the event before this returns. A
// property change results in two events: one with the property's value, read from the view, and the
// plain one. The view must outlive the call.
void forwardWebEvent(const OrvWebView& view, OrvWebEvent& event, EventSink& sink);

// The JSON body of an event.
Tessel::Platform::String jsonFromObject(const OrvWebEvent& event);
// Applies an answer, {"setter": value, ...}, to an event that takes one. A text that is not a JSON
// object, unknown keys and values of a wrong type are ignored.
void jsonOnObject(OrvWebEvent& event, const Tessel::Platform::String& answer);

// The value of a property as reported to the chrome: "true" or "false", numbers in decimal, records
// as JSON, texts unchanged.
Tessel::Platform::String propertyValueText(const OrvWebView& view,
                                           OrvWebPropertyChangedEvent::Property property);
