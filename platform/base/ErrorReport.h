// Errors that the developer of the chrome should hear of, from layers that do not know the chrome.
// Any thread.
#pragma once

#include "platform/base/String.h"

namespace Tessel::Platform {

// Logs the text in one line and hands it to the listener. An error that arises while another one
// is being told on the same thread is only logged.
void reportError(const String& text);

// Called on the thread of whoever reports. Null, as at the start, for nobody. Set once, by the
// main thread, before other threads report.
void setErrorListener(void (*listener)(const String& text));

}  // namespace Tessel::Platform
