// The functions that pages find in their own world and that the program answers for. Web process,
// main thread only.
#include "engine/webkit/page/PageApi.h"

#include "PageApiScript.h"

#include <memory>
#include <utility>

using Tessel::Platform::String;

namespace {

struct Caller {
  PageApiCall call;
  PageFunctions functions;
};
// Shared by the two functions of a document.
using CallerPointer = std::shared_ptr<const Caller>;

template <bool Waits>
JSCValue* onCall(GPtrArray* arguments, gpointer data) {
  const CallerPointer caller = *static_cast<CallerPointer*>(data);
  const FunctionCall call = callFrom(arguments, caller->functions);
  const std::string result = call.path.empty() ? std::string() : caller->call(call, Waits);
  return toScript(jsc_context_get_current(), String(std::string_view(result)));
}

template <bool Waits>
JSCValue* makeFunction(JSCContext* context, const CallerPointer& caller) {
  return jsc_value_new_function_variadic(
      context, nullptr, G_CALLBACK(onCall<Waits>), new CallerPointer(caller),
      [](gpointer data) { delete static_cast<CallerPointer*>(data); }, JSC_TYPE_VALUE);
}

}  // namespace

void definePageApi(JSCContext* context, PageApiCall call) {
  const auto caller =
      std::make_shared<const Caller>(Caller{std::move(call), makePageFunctions(context)});
  const ObjectPointer<JSCValue> script(jsc_context_evaluate(context, pageApiScript, -1));
  const ObjectPointer<JSCValue> ask(makeFunction<true>(context, caller));
  const ObjectPointer<JSCValue> tell(makeFunction<false>(context, caller));
  const ObjectPointer<JSCValue> ignored(jsc_value_function_call(
      script.get(), JSC_TYPE_VALUE, ask.get(), JSC_TYPE_VALUE, tell.get(), G_TYPE_NONE));
  const std::string problem = takeException(context);
  if (!problem.empty()) g_warning("A page goes without its own functions: %s", problem.c_str());
}
