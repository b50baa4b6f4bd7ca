// The records that the chrome gives, read from its JSON text. Any thread.
#pragma once

#include "engine/JavaScriptVariant.h"
#include "engine/Records.h"
#include "platform/String.h"

#include <vector>

// A longer text is none of the chrome's records: it is read as nothing.
inline constexpr std::size_t maximumRecordText = 16 << 20;

// The record, or its default value for a text that is not one: that lacks a member, has one of
// another kind, or is no JSON. Members that a record does not have are passed over; of several with
// a name, the first counts. Numbers count by their integer part, and as the nearest int.
//
// Of lists, what is no element is skipped; in a history it is an empty entry.
//
// Instantiated for OrvWebRect, OrvWebPoint, OrvWebSize, OrvWebFavicon and for vectors of
// OrvWebHistoryItem, String and JavaScriptVariant.
template <typename Record>
Record recordFromJSON(const Tessel::Platform::String& json);

// The same, for who has to know whether it was one.
template <typename Record>
bool readRecord(const Tessel::Platform::String& json, Record& record);
