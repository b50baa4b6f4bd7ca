// Host names as people read them. Any thread.
#pragma once

#include "platform/String.h"

namespace Tessel::Platform {

// The name with its encoded labels decoded, as a reader of the language would see it; unchanged
// when it is no valid name. The conversion used here is the same for all languages.
String idnToReadableUtf8String(const String& host, const String& language);

// The language of the user, such as "de" or "pt_BR"; "C" where none is set.
String currentLanguage();

}  // namespace Tessel::Platform
