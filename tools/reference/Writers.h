// The two files of the reference. Any thread: texts from texts.
#pragma once

#include "tools/reference/Events.h"
#include "tools/reference/Functions.h"

#include <string>

namespace reference {

struct Reference {
  Records records;
  std::vector<Function> functions;
  Events events;
};

// docs/native-functions.md
std::string markdown(const Reference& reference);
// chrome/native.d.ts
std::string typeScript(const Reference& reference);

}  // namespace reference
