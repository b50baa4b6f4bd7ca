// The functions in a page's own world that are implemented by the program. Web process, main thread
// only.
#pragma once

#include "engine/webkit/webprocess/PageScripts.h"

#include <functional>
#include <string>

// Asks the program and waits for its text if so wanted; the text is empty otherwise.
using PageApiCall = std::function<std::string(const link_protocol::PageReport& call, bool waits)>;

// Defines them in a new document's context, before any script of the page runs in it.
void definePageApi(JSCContext* context, const PageFunctions& functions, PageApiCall call);
