// Parses records from the chrome's JSON. Any thread.
#pragma once

#include "engine/JavaScriptVariant.h"
#include "engine/RecordJson.h"
#include "engine/Records.h"
#include "platform/base/String.h"

#include <vector>

// Maximum length in bytes; native calls cannot carry longer texts. Longer ones do not parse.
inline constexpr std::size_t maximumRecordText = fields::longestText;

// False, without effect, if the text is malformed JSON, lacks a member or has one of a wrong type.
// Unknown members are ignored; of duplicates, the first counts. Numbers are truncated to integers
// and clamped to int.
//
// In arrays, elements of a wrong type are skipped; in a history they are empty entries. Integers
// out of int's range are skipped in arrays of values.
//
// Instantiated for OrvWebRect, OrvWebPoint, OrvWebSize, OrvWebFavicon and for vectors of
// OrvWebHistoryItem, String and JavaScriptVariant.
template <typename Record>
bool readRecord(const Tessel::Platform::String& json, Record& record);
template <>
bool readRecord(const Tessel::Platform::String& json, std::vector<JavaScriptVariant>& list);
