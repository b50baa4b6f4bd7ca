// Between the chrome's JSON and the attributes of objects. Any thread.
#pragma once

#include "platform/pps/PPSText.h"

#include <optional>

// {"name":{...}}, or {} for no object. Numbers, booleans and JSON are converted; values that do not
// match their encoding become texts. Here and below, bytes that are not UTF-8 are replaced.
Tessel::Platform::String ppsValueToJson(const Tessel::Platform::PPSValue& value);

// The lines for the members of a JSON object, in its order; empty for everything else. Nothing,
// with the problem in words, when a name or a text has characters that would make other lines of
// it, and when its values are nested more than 64 deep.
std::optional<Tessel::Platform::String> ppsLinesFromJson(const Tessel::Platform::String& json,
                                                         Tessel::Platform::String& problem);
