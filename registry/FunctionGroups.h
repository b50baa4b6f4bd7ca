// The groups of native functions, as names that a wrong row does not compile with. Any thread:
// plain constants.
#pragma once

namespace function_groups {

#define GROUP(name, ...) inline constexpr const char* name = #name;
#include "registry/FunctionGroups.def"
#undef GROUP

// Of the commands of web views.
inline constexpr const char* ofCommands = views;

}  // namespace function_groups
