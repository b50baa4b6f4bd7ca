// The native functions in the reference, from the tables. Main thread.
#pragma once

#include "registry/FunctionGroups.h"
#include "tools/reference/Effect.h"
#include "tools/reference/TypeTexts.h"

namespace reference {

struct Argument {
  std::string name;
  TypeText type;
  bool optional = false;
  std::string fallback;  // the default
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

// Functions with custom handlers, then the commands of web views. Exits if the tables and the
// registry do not have the same functions.
std::vector<Function> nativeFunctions(Records& records);

// The rows of registry/FunctionGroups.def.
struct FunctionGroup {
  const char* name;
  const char* meaning;
  const char* example;
};
inline constexpr FunctionGroup functionGroups[] = {
#define GROUP(name, meaning, example) {#name, meaning, example},
#include "registry/FunctionGroups.def"
#undef GROUP
};

}  // namespace reference
