// What the modules of the navigator share: native functions that do nothing but ask it, and the
// chrome's functions that are called for its notifications. UI thread.
#pragma once

#include "engine/JavaScriptVariant.h"
#include "platform/desktop/NavigatorHandler.h"
#include "platform/loop/GuardedPointer.h"

#include <vector>

class WebView;

namespace navigator {

using Tessel::Platform::String;

// Asks the navigator; an operation per request.
struct Requests {
#define REQUEST(name, Result, parameters, arguments)                      \
  static Result name parameters {                                         \
    return Tessel::Platform::NavigatorHandler::instance().name arguments; \
  }
#include "platform/desktop/Requests.def"
};

// Calls chrome.internal.<space>.<event>(arguments). Without a chrome nothing happens. Returns when
// the chrome has heard, or has not for some seconds, where nothing of it may be left afterwards;
// else at once.
void tellChrome(const Tessel::Platform::GuardedPointer<WebView>& chrome, const char* space,
                const char* event, const std::vector<JavaScriptVariant>& arguments,
                bool waits = false);

// The text with its first "_" replaced by "-".
String withHyphen(const String& locale);

}  // namespace navigator
