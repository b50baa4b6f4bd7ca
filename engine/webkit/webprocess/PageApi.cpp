// The functions in a page's own world that are implemented by the program. Web process, main thread
// only.
#include "engine/webkit/webprocess/PageApi.h"

#include "PageApiScript.h"

#include <memory>
#include <utility>

using Tessel::Platform::String;

namespace {

// Shared by the two functions of a document.
using Caller = std::shared_ptr<const PageApiCall>;

template <bool Waits>
JSCValue* onCall(GPtrArray* arguments, gpointer data) {
  const Caller caller = *static_cast<Caller*>(data);
  const auto call = reportFrom(arguments);
  const std::string result = call ? (*caller)(*call, Waits) : std::string();
  return toScript(jsc_context_get_current(), String(std::string_view(result)));
}

template <bool Waits>
JSCValue* makeFunction(JSCContext* context, const PageFunctions& functions, const Caller& caller) {
  return makeVariadic(context, functions.wrapOwn.get(), nullptr, onCall<Waits>, new Caller(caller),
                      [](gpointer data) { delete static_cast<Caller*>(data); });
}

}  // namespace

void definePageApi(JSCContext* context, const PageFunctions& functions, PageApiCall call) {
  const auto caller = std::make_shared<const PageApiCall>(std::move(call));
  const ObjectPointer<JSCValue> script(evaluateOwn(context, pageApiScript));
  const ObjectPointer<JSCValue> ask(makeFunction<true>(context, functions, caller));
  const ObjectPointer<JSCValue> tell(makeFunction<false>(context, functions, caller));
  const ObjectPointer<JSCValue> ignored(jsc_value_function_call(
      script.get(), JSC_TYPE_VALUE, ask.get(), JSC_TYPE_VALUE, tell.get(), G_TYPE_NONE));
  const std::string problem = takeException(context);
  if (!problem.empty()) g_warning("The page functions cannot be defined: %s", problem.c_str());
}
