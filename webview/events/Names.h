// What the chrome calls events and properties. Any thread.
#pragma once

#include "engine/OrvWebEvent.h"
#include "platform/base/String.h"

// "" for a number that names nothing.
const char* eventTypeName(int type);
const char* propertyName(int property);
// The event that reports a change of the property, such as "PropertyTitleEvent".
const char* propertyEventName(int property);

// Exact, case-sensitive matches; 0, with notFound set, when there is none.
OrvWebEvent::Type eventTypeFromName(const char* name, bool& notFound);
OrvWebPropertyChangedEvent::Property propertyFromName(const char* name, bool& notFound);

// A JSON object with a member, true, for each event and then for each property's event.
const Tessel::Platform::String& eventNamesCatalogue();
