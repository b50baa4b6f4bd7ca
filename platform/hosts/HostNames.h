// Host names for display. Any thread.
#pragma once

#include "platform/base/String.h"

namespace Tessel::Platform {

// The name with those encoded labels ("xn--…") decoded that a reader of the language cannot mistake
// for others. A label stays or becomes encoded if it mixes scripts, has characters of scripts that
// the language is not written in (Latin apart) or that are not recommended in identifiers, or is
// confusable with an ASCII label under an ASCII domain. An invalid name is returned unchanged. The
// language is such as "de", "pt_BR" or "zh-Hant"; any other text stands for none.
String idnToReadableUtf8String(const String& host, const String& language);

}  // namespace Tessel::Platform
