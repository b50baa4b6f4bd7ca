// Reports errors to the developer of the chrome, from layers that do not depend on the chrome. Any
// thread.
#pragma once

#include "platform/base/String.h"

namespace Tessel::Platform {

// Logs the text as one line and passes it to the listener. An error raised on the same thread while
// another one is being reported is only logged.
void reportError(const String& text);

// The listener is called on the reporting thread; null (the default) for none. Set it once, on the
// main thread, before other threads report.
void setErrorListener(void (*listener)(const String& text));

}  // namespace Tessel::Platform
