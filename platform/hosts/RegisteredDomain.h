// The registrable domain of a host name. Any thread.
#pragma once

#include "platform/base/String.h"

namespace Tessel::Platform {

// "example.co.uk" for "www.example.co.uk", by the public suffix list. In lower case. Empty for a
// public suffix itself, a name without a dot, an IP address, and an invalid host name.
String getRegisteredDomain(const String& host);

}  // namespace Tessel::Platform
