// JavaScript values across the link, and calls of page functions. Web process, main thread only.
#pragma once

#include "engine/JavaScriptVariant.h"

#include <jsc/jsc.h>

#include <string>

// An exception that is pending in a context as one line of text, and clears it; empty when there
// is none.
std::string takeException(JSCContext* context);

// The text of String(value): zero bytes and all. False, with the exception pending, when the
// value refuses to be one.
bool textOf(JSCValue* value, std::string& text);

JSCValue* toScript(JSCContext* context, const JavaScriptVariant& value);
JavaScriptVariant fromScript(JSCValue* value);

// Calls a function by its path from the global object, with the object that holds it as this.
// Undefined when it does not exist or throws; problem tells of what was thrown.
JavaScriptVariant callPageFunction(JSCContext* context, const FunctionCall& call,
                                   std::string& problem);
