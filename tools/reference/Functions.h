// The native functions as the reference tells them, from the tables. Main thread.
#pragma once

#include "registry/FunctionGroups.h"
#include "tools/reference/Effect.h"
#include "tools/reference/TypeTexts.h"

#include <utility>

namespace reference {

struct Argument {
  std::string name;
  TypeText type;
  bool optional = false;
  std::string fallback;  // what counts when it is left out
};

struct Function {
  std::string name;
  bool ofWebView = false;  // the handle of a web view comes before the arguments
  std::vector<Argument> arguments;
  TypeText result;
  std::string group = function_groups::ofCommands;
  Effect effect = Effect::Real;
  std::string text;
};

// Those with handlers of their own, then the commands of web views. Ends the program when the
// tables and the registry do not hold the same functions.
std::vector<Function> nativeFunctions(Records& records);

// Names and meanings of registry/FunctionGroups.def.
inline constexpr std::pair<const char*, const char*> functionGroups[] = {
#define GROUP(name, meaning) {#name, meaning},
#include "registry/FunctionGroups.def"
#undef GROUP
};

}  // namespace reference
