// The table of webview.* commands. UI thread.
#pragma once

#include "registry/BindingManager.h"

#include <span>

// One command as the rest of the program sees it.
struct CommandRow {
  const char* name;  // after "webview."; errors name the function by it
  BindingHandler handler;
  // What crosses to another process: a letter per field after the handle (i int, b bool, s text),
  // and one for the reply (- none, b, i, u unsigned int, f float, d double, e enumeration, t text).
  const char* messageFields;
  int messageNumber;  // 0 for a command that has no message
  int requiredArguments;
  int optionalArguments;
  char messageReply;
};

// All commands, in byte order of their names.
std::span<const CommandRow> commandTable();

// Registers "webview.<name>" for every command.
void registerCommands(BindingManager& bindings);
