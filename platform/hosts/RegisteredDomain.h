// The part of a host name that somebody has registered. Any thread.
#pragma once

#include "platform/base/String.h"

namespace Tessel::Platform {

// "example.co.uk" for "www.example.co.uk", by the list of public suffixes. In lower case. Empty for
// a public suffix itself, a name without a dot, an address in numbers, and for what is no host
// name.
String getRegisteredDomain(const String& host);

}  // namespace Tessel::Platform
