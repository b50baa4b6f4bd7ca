// Reads the capabilities of origins from a file beside the chrome. Main thread, at start.
#pragma once

#include "registry/Capabilities.h"

// Reads the file named by PAGEHOST_CAPABILITIES, or, for a chrome that is a file or a local:
// address, capabilities.json beside it. If there is none, or it is malformed (which is logged),
// returns the default.
Capabilities chromeCapabilities(const char* chromeUrl);
