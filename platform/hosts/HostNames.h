// Host names as people read them. Any thread.
#pragma once

#include "platform/base/String.h"

namespace Tessel::Platform {

// The name with its encoded labels ("xn--…") decoded where a reader of the language cannot take
// them for something else. A label stays encoded, or becomes so, if it mixes scripts, has
// characters of scripts that the language is not written in (Latin apart) or that names need not
// have, or looks like one of plain letters under a domain of plain letters. What is no valid name
// is returned as it is. The language is such as "de", "pt_BR" or "zh-Hant"; any other text stands
// for none.
String idnToReadableUtf8String(const String& host, const String& language);

}  // namespace Tessel::Platform
