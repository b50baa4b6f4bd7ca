// The records that the chrome gives, read from its JSON text. Any thread.
#pragma once

#include "engine/JavaScriptVariant.h"
#include "engine/RecordJson.h"
#include "engine/Records.h"
#include "platform/base/String.h"

#include <vector>

// Bytes. No native call brings a longer text; it is read as nothing.
inline constexpr std::size_t maximumRecordText = fields::longestText;

// The record, or its default value for a text that is not one: that lacks a member, has one of
// another kind, or is no JSON. Members that a record does not have are passed over; of several with
// a name, the first counts. Numbers count by their integer part, and as the nearest int.
//
// Of lists, what is no element is skipped; in a history it is an empty entry. An integer that does
// not fit an int is no element of a list of values.
//
// Instantiated for OrvWebRect, OrvWebPoint, OrvWebSize, OrvWebFavicon and for vectors of
// OrvWebHistoryItem, String and JavaScriptVariant.
template <typename Record>
Record recordFromJSON(const Tessel::Platform::String& json);

// The same, for who has to know whether it was one.
template <typename Record>
bool readRecord(const Tessel::Platform::String& json, Record& record);
template <>
bool readRecord(const Tessel::Platform::String& json, std::vector<JavaScriptVariant>& list);
