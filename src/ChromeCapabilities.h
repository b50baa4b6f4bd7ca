// What origins may call besides the chrome, as a file beside it says. Main thread, at start.
#pragma once

#include "registry/Capabilities.h"

// Reads the file that PAGEHOST_CAPABILITIES names; else, of a chrome that is a file or local:, the
// file capabilities.json beside it. Without one, and with one that is wrong, which the log tells,
// it is the default.
Capabilities chromeCapabilities(const char* chromeUrl);
