// The module's own script in a document. Web process, main thread only.
#include "engine/webkit/page/Probe.h"

#include "ProbeScript.h"

using link_protocol::Watched;

namespace {

struct Reporter {
  Probe::Report report;
  PageFunctions functions;
};

// report(what, ...values) of the script.
JSCValue* onReport(GPtrArray* arguments, gpointer data) {
  const auto* reporter = static_cast<Reporter*>(data);
  const FunctionCall report = callFrom(arguments, reporter->functions);
  if (!report.path.empty()) reporter->report(report);
  return jsc_value_new_undefined(jsc_context_get_current());
}

}  // namespace

void Probe::start(JSCContext* context, Report report) {
  context_.reset(JSC_CONTEXT(g_object_ref(context)));
  actions_.reset();
  const ObjectPointer<JSCValue> script(jsc_context_evaluate(context, probeScript, -1));
  const ObjectPointer<JSCValue> native(jsc_value_new_function_variadic(
      context, "report", G_CALLBACK(onReport),
      new Reporter{std::move(report), makePageFunctions(context)},
      [](gpointer data) { delete static_cast<Reporter*>(data); }, JSC_TYPE_VALUE));
  actions_.reset(jsc_value_function_call(script.get(), JSC_TYPE_VALUE, native.get(), G_TYPE_NONE));
  const std::string problem = takeException(context);
  if (!problem.empty()) g_warning("The script in a page does not run: %s", problem.c_str());
}

void Probe::watch(std::uint32_t watched) {
  FunctionCall call{{"watch"}, {}};
  for (const Watched one : {Watched::Selection, Watched::Caret, Watched::Rendering,
                            Watched::Clipboard, Watched::FormControls, Watched::Keys,
                            Watched::Width}) {
    call.arguments.emplace_back((watched & static_cast<std::uint32_t>(one)) != 0);
  }
  if (actions_) act(call);
}

std::string Probe::act(const FunctionCall& action) {
  if (!actions_ || !jsc_value_is_object(actions_.get()) || action.path.empty()) return {};
  std::vector<ObjectPointer<JSCValue>> arguments;
  std::vector<JSCValue*> parameters;
  for (const JavaScriptVariant& argument : action.arguments) {
    arguments.emplace_back(toScript(context_.get(), argument));
    parameters.push_back(arguments.back().get());
  }
  const ObjectPointer<JSCValue> result(
      jsc_value_object_invoke_methodv(actions_.get(), action.path.front().utf8(),
                                      static_cast<guint>(parameters.size()), parameters.data()));
  return takeException(context_.get());
}
