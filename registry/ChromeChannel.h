// How the program talks to the chrome: calls of fixed functions of the root web view. Runs on the
// thread that handles the event, the main thread or the web-engine thread; the caller keeps the
// chrome's web view from being deleted meanwhile.
#pragma once

#include "engine/OrvWebView.h"
#include "platform/base/String.h"

// Calls chrome.internal.webEvent(handle, name, data, integer) and does not wait. The integer is
// what the event's message carried, 0 where there was none. Without a chrome (null) the event is
// dropped and logged.
void sendChromePostEvent(OrvWebView* chrome, const Tessel::Platform::String& name,
                         const Tessel::Platform::String& data, unsigned int handle, int integer);

// The same call, waited for. The answer is the function's value as text: "%g" for a number,
// "true" or "false", a string as it is, and the empty string for everything else, for a chrome
// that does not answer in time and for no chrome.
Tessel::Platform::String sendChromeSendEvent(OrvWebView* chrome,
                                             const Tessel::Platform::String& name,
                                             const Tessel::Platform::String& data,
                                             unsigned int handle, int integer);

// Calls chrome.native.error(message) and does not wait.
void sendChromeError(OrvWebView& chrome, const Tessel::Platform::String& message);
