// What the module in a web process tells about a page, as state and events. Main thread.
#pragma once

#include "engine/JavaScriptVariant.h"
#include "engine/webkit/link/Frame.h"

class PageClient;
class WebKitPage;

// The text is for a page that waits for one. Reports that do not have the form they should are
// dropped: a web process may have been taken over.
Tessel::Platform::String handleReport(WebKitPage& page, const FunctionCall& report);

// What the module is to look for, bits of link_protocol::Watched.
std::uint32_t watchedBy(const PageClient& client);
