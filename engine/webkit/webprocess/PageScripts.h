// JavaScript values across the link, and calls of page functions. Web process, main thread only.
#pragma once

#include "engine/JavaScriptVariant.h"
#include "engine/webkit/base/ObjectPointer.h"
#include "engine/webkit/link/Frame.h"

#include <jsc/jsc.h>

#include <optional>
#include <string>
#include <vector>

// An exception that is pending in a context as one line of text, and clears it; empty when there
// is none.
std::string takeException(JSCContext* context);

// Where a script calls the native function that is running: the innermost place in a file, past the
// library of chromes, which only passes calls on. Empty, and 0, where no script has a file.
struct ScriptPlace {
  std::string file;
  int line = 0;
};
ScriptPlace callerOf(JSCContext* context);

// What is made in a page's world before any script of the page can have changed its functions. Each
// keeps the page's document alive, so what a document owns, such as the data of a native function,
// must not hold them: the engine could not free either.
struct PageFunctions {
  ObjectPointer<JSCValue> wellFormed;  // a string with the halves of surrogate pairs replaced
  // Wraps a native function for pages: every argument becomes String(argument), well formed, except
  // null and undefined.
  ObjectPointer<JSCValue> wrapNative;
  // The same for our own scripts: only strings are changed.
  ObjectPointer<JSCValue> wrapOwn;
};
PageFunctions makePageFunctions(JSCContext* context);

// The bytes of a well-formed string, zeros and all.
std::string bytesOf(JSCValue* text);

JSCValue* toScript(JSCContext* context, const JavaScriptVariant& value);
// The arguments of a call: what the values point to is held.
struct ScriptArguments {
  std::vector<ObjectPointer<JSCValue>> held;
  std::vector<JSCValue*> values;
};
ScriptArguments toScript(JSCContext* context, const std::vector<JavaScriptVariant>& arguments);
// Strings must be well formed.
JavaScriptVariant fromScript(JSCValue* value);
// The value of one of our own scripts, which sees the numbers of the tables as Report.name and
// Action.name.
JSCValue* evaluateOwn(JSCContext* context, const char* script);
// A report of one of our own scripts, through wrapOwn: its number and its details. None for
// anything else than a number of the table.
std::optional<link_protocol::PageReport> reportFrom(const GPtrArray* arguments);

// A native function that takes anything, behind one of the wrappers above. The data is the
// function's.
using VariadicCallback = JSCValue* (*)(GPtrArray*, gpointer);
JSCValue* makeVariadic(JSCContext* context, JSCValue* wrapper, const char* name,
                       VariadicCallback callback, gpointer data, GDestroyNotify free);

// Calls a function by its path from the global object, with the object that holds it as this.
// Undefined when it does not exist or throws; problem tells of what was thrown.
JavaScriptVariant callPageFunction(JSCContext* context, const PageFunctions& functions,
                                   const FunctionCall& call, std::string& problem);
