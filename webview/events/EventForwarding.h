// The way of an event from a web view to the chrome, and of the answer back. UI thread.
#pragma once

#include "engine/OrvWebEvent.h"
#include "platform/base/String.h"
#include "webview/events/EventType.h"

class OrvWebView;

// Where the events of a web view go: to the manager in the process that has it.
class EventSink {
 public:
  using String = Tessel::Platform::String;

  virtual ~EventSink() = default;
  virtual void post(EventType event, const String& data) = 0;
  // Returns the chrome's answer, the empty text where there is none.
  virtual String send(EventType event, const String& data) = 0;
};

// Turns an event into its JSON body and hands it on; the answer to one that takes an
// answer is applied to it before this returns. A property change gives two: one with the
// property's value, read from the view, and the plain one. The view outlives the call.
void forwardWebEvent(const OrvWebView& view, OrvWebEvent& event, EventSink& sink);

// The JSON body of an event.
Tessel::Platform::String jsonFromObject(const OrvWebEvent& event);
// Applies an answer, {"setter": value, ...}, to an event that takes one. What is no JSON object,
// an unknown key or a value of the wrong kind changes nothing.
void jsonOnObject(OrvWebEvent& event, const Tessel::Platform::String& answer);

// The value of a property as the chrome is told it: "true" or "false", numbers in decimal,
// records as JSON, texts as they are.
Tessel::Platform::String propertyValueText(const OrvWebView& view,
                                           OrvWebPropertyChangedEvent::Property property);
