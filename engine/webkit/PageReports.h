// Turns the reports of the module in a web process into page state and events. Main thread.
#pragma once

#include "engine/webkit/link/Frame.h"

class PageClient;
class WebKitPage;

// Returns the result for a page that waits for it. Missing and malformed details read as empty: a
// web process may be compromised.
Tessel::Platform::String handleReport(WebKitPage& page, const link_protocol::PageReport& report);

// What the module has to observe, bits of link_protocol::Watched.
std::uint32_t watchedBy(const PageClient& client);
