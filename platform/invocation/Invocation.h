// What the desktop has registered for addresses, files and types, and opening with it. Nothing but
// registered applications is ever started, and none with words of a caller but an address or a
// file. Main thread.
#pragma once

#include "platform/base/String.h"

#include <string>
#include <vector>

namespace Tessel::Platform {

// What is to be opened, from JSON: {"uri":"https://..."} or {"file":"/path"}; for a query also
// {"type":"text/html"}. With "target", the id of one of the registered applications.
struct InvokeWish {
  std::string uri;   // of a file, too; empty for a type alone
  std::string type;  // of contents; for an address that of its scheme, x-scheme-handler/https
  std::string target;
};

struct InvokeTarget {
  std::string id;  // of its desktop entry
  std::string name;
  bool isDefault = false;
};

// The problem, else nothing. Files must exist, and programs and desktop entries are refused.
String readInvokeWish(const String& json, InvokeWish& wish);

// The default one first.
std::vector<InvokeTarget> invokeTargets(const InvokeWish& wish);

// Opens with the target, or with the default one; which one it was. The problem, else nothing.
String openWith(const InvokeWish& wish, InvokeTarget& opened);

}  // namespace Tessel::Platform
