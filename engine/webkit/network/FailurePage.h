// The page that is shown in place of one that could not be loaded. Any thread.
#pragma once

#include "platform/base/String.h"

// HTML; the title says what has happened. The parts are plain text, the hint may be empty. With a
// number of seconds it says when the address is tried again, and has a link there.
Tessel::Platform::String failurePage(const Tessel::Platform::String& title,
                                     const Tessel::Platform::String& url,
                                     const Tessel::Platform::String& reason,
                                     const Tessel::Platform::String& hint,
                                     unsigned int retrySeconds = 0);
