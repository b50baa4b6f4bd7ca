// JavaScript values across the link, and calls of page functions. Web process, main thread only.
#include "engine/webkit/webprocess/PageScripts.h"

#include <cstdlib>
#include <iterator>
#include <span>
#include <sstream>

using Tessel::Platform::String;

namespace {

String joined(const std::vector<String>& path) {
  std::string text;
  for (const String& name : path) text.append(text.empty() ? "" : ".").append(name.view());
  return String(std::move(text));
}

// The names with their numbers, as an object without a prototype.
std::string objectOf(std::span<const char* const> names) {
  std::string text = "{__proto__:null";
  for (std::size_t i = 0; i < names.size(); ++i) {
    text.append(",").append(names[i]).append(":").append(std::to_string(i));
  }
  return text + "}";
}

}  // namespace

std::string takeException(JSCContext* context) {
  JSCException* exception = jsc_context_get_exception(context);
  if (!exception) return std::string();
  // The object belongs to the context and goes with its clearing.
  const ObjectPointer<JSCException> held(JSC_EXCEPTION(g_object_ref(exception)));
  jsc_context_clear_exception(context);
  gchar* message = jsc_exception_to_string(held.get());
  std::string text = message ? message : "exception";
  g_free(message);
  if (const char* source = jsc_exception_get_source_uri(held.get())) {
    text.append(" (").append(source).append(":");
    text.append(std::to_string(jsc_exception_get_line_number(held.get()))).append(")");
  }
  return text;
}

ScriptPlace callerOf(JSCContext* context) {
  const ObjectPointer<JSCValue> stack(jsc_context_evaluate(context, "new Error().stack", -1));
  if (!takeException(context).empty() || !jsc_value_is_string(stack.get())) return {};
  ScriptPlace place;
  std::istringstream lines(bytesOf(stack.get()));
  // Each is NAME@FILE:LINE:COLUMN.
  for (std::string line; std::getline(lines, line);) {
    const auto column = line.rfind(':');
    const auto row =
        column == std::string::npos || column == 0 ? column : line.rfind(':', column - 1);
    const auto file = line.find('@') + 1;
    if (row == std::string::npos || row <= file || line.find(':', file) == row) continue;
    place = {line.substr(file, row - file), std::atoi(line.c_str() + row + 1)};
    if (!place.file.ends_with("pagehost.js")) break;
  }
  return place;
}

PageFunctions makePageFunctions(JSCContext* context) {
  // The engine's own conversion stops at an unpaired surrogate, so those are replaced here.
  constexpr const char* source = R"((() => {
    const { apply } = Reflect;
    const text = String;
    const { toWellFormed } = String.prototype;
    const wellFormed = string => apply(toWellFormed, string, []);
    const wrapNative = native => (...values) => {
      for (let i = 0; i < values.length; ++i) {
        const value = values[i];
        if (value !== null && value !== undefined) values[i] = wellFormed(text(value));
      }
      return apply(native, undefined, values);
    };
    const wrapOwn = native => (...values) => {
      for (let i = 0; i < values.length; ++i) {
        if (typeof values[i] === 'string') values[i] = wellFormed(values[i]);
      }
      return apply(native, undefined, values);
    };
    return { wellFormed, wrapNative, wrapOwn };
  })())";
  const ObjectPointer<JSCValue> made(jsc_context_evaluate(context, source, -1));
  const auto member = [&made](const char* name) {
    return ObjectPointer<JSCValue>(jsc_value_object_get_property(made.get(), name));
  };
  return {member("wellFormed"), member("wrapNative"), member("wrapOwn")};
}

std::string bytesOf(JSCValue* text) {
  GBytes* bytes = jsc_value_to_string_as_bytes(text);
  if (!bytes) return std::string();
  gsize size = 0;
  const auto* data = static_cast<const char*>(g_bytes_get_data(bytes, &size));
  std::string result(data ? data : "", size);
  g_bytes_unref(bytes);
  return result;
}

JSCValue* toScript(JSCContext* context, const JavaScriptVariant& value) {
  switch (value.type()) {
    case JavaScriptVariant::Boolean:
      return jsc_value_new_boolean(context, value.booleanValue());
    case JavaScriptVariant::Number:
      return jsc_value_new_number(context, value.numberValue());
    case JavaScriptVariant::Text: {
      // The engine drops a whole string with an invalid UTF-8 byte in it.
      const String text = Tessel::Platform::repaired(value.stringValue());
      GBytes* bytes = g_bytes_new_static(text.utf8(), text.length());
      JSCValue* result = jsc_value_new_string_from_bytes(context, bytes);
      g_bytes_unref(bytes);
      return result;
    }
    case JavaScriptVariant::Null:
      return jsc_value_new_null(context);
    default:
      return jsc_value_new_undefined(context);
  }
}

ScriptArguments toScript(JSCContext* context, const std::vector<JavaScriptVariant>& arguments) {
  ScriptArguments result;
  for (const JavaScriptVariant& argument : arguments) {
    result.values.push_back(result.held.emplace_back(toScript(context, argument)).get());
  }
  return result;
}

JavaScriptVariant fromScript(JSCValue* value) {
  if (jsc_value_is_undefined(value)) return {};
  if (jsc_value_is_null(value)) return JavaScriptVariant::null();
  if (jsc_value_is_boolean(value)) return jsc_value_to_boolean(value) != FALSE;
  if (jsc_value_is_number(value)) return jsc_value_to_double(value);
  if (jsc_value_is_string(value)) return String(bytesOf(value));
  return JavaScriptVariant::object();
}

JSCValue* evaluateOwn(JSCContext* context, const char* script) {
  static const std::string numbers =
      "(" + objectOf(link_protocol::reportNames) + "," + objectOf(link_protocol::actionNames) + ")";
  const std::string text = std::string("((Report, Action) => ") + script + ")" + numbers;
  return jsc_context_evaluate(context, text.data(), static_cast<gssize>(text.size()));
}

std::optional<link_protocol::PageReport> reportFrom(const GPtrArray* arguments) {
  const auto valueAt = [&](guint i) {
    return fromScript(static_cast<JSCValue*>(g_ptr_array_index(arguments, i)));
  };
  if (arguments->len == 0) return std::nullopt;
  const JavaScriptVariant kind = valueAt(0);
  const double number = kind.numberValue();
  if (kind.type() != JavaScriptVariant::Number || !(number >= 0) ||
      number >= static_cast<double>(std::size(link_protocol::reportNames))) {
    return std::nullopt;
  }
  link_protocol::PageReport report{static_cast<link_protocol::ReportKind>(number), {}};
  for (guint i = 1; i < arguments->len; ++i) report.details.push_back(valueAt(i));
  return report;
}

JSCValue* makeVariadic(JSCContext* context, JSCValue* wrapper, const char* name,
                       VariadicCallback callback, gpointer data, GDestroyNotify free) {
  const ObjectPointer<JSCValue> native(jsc_value_new_function_variadic(
      context, name, G_CALLBACK(callback), data, free, JSC_TYPE_VALUE));
  return jsc_value_function_call(wrapper, JSC_TYPE_VALUE, native.get(), G_TYPE_NONE);
}

JavaScriptVariant callPageFunction(JSCContext* context, const PageFunctions& functions,
                                   const FunctionCall& call, std::string& problem) {
  if (call.path.empty()) return {};
  ObjectPointer<JSCValue> holder(jsc_context_get_global_object(context));
  for (std::size_t i = 0; i + 1 < call.path.size(); ++i) {
    holder.reset(jsc_value_object_get_property(holder.get(), call.path[i].utf8()));
    if (!holder || !jsc_value_is_object(holder.get())) {
      problem = takeException(context);
      return {};
    }
  }
  const char* name = call.path.back().utf8();
  const ObjectPointer<JSCValue> function(jsc_value_object_get_property(holder.get(), name));
  if (!function || !jsc_value_is_function(function.get())) {
    problem = takeException(context);
    return {};
  }
  ScriptArguments arguments = toScript(context, call.arguments);
  ObjectPointer<JSCValue> result(jsc_value_object_invoke_methodv(
      holder.get(), name, static_cast<guint>(arguments.values.size()), arguments.values.data()));
  problem = takeException(context);
  if (!problem.empty()) {
    problem = joined(call.path).toStdString() + ": " + problem;
    return {};
  }
  if (!result) return {};
  if (jsc_value_is_string(result.get())) {
    result.reset(jsc_value_function_call(functions.wellFormed.get(), JSC_TYPE_VALUE, result.get(),
                                         G_TYPE_NONE));
  }
  return fromScript(result.get());
}
