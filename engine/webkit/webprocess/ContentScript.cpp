// The module's own script in a document. Web process, main thread only.
#include "engine/webkit/webprocess/ContentScript.h"

#include "ContentScriptText.h"
#include "FormsScript.h"

#include <webkit2/webkit-web-extension.h>

using link_protocol::Watched;

namespace {

// report(Report.name, ...details) of the scripts.
JSCValue* onReport(GPtrArray* arguments, gpointer data) {
  if (const auto report = reportFrom(arguments)) {
    (*static_cast<ContentScript::Report*>(data))(*report);
  }
  return jsc_value_new_undefined(jsc_context_get_current());
}

void onFill(JSCValue* field, const char* text, gpointer) {
  webkit_web_form_manager_input_element_auto_fill(field, text);
}

gboolean onIsEdited(JSCValue* field, gpointer) {
  return webkit_web_form_manager_input_element_is_user_edited(field);
}

}  // namespace

void ContentScript::start(JSCContext* context, Report report) {
  context_.reset(JSC_CONTEXT(g_object_ref(context)));
  actions_.reset(jsc_value_new_object(context, nullptr, nullptr));
  const ObjectPointer<JSCValue> native(makeVariadic(
      context, makePageFunctions(context).wrapOwn.get(), "report", onReport,
      new Report(std::move(report)), [](gpointer data) { delete static_cast<Report*>(data); }));
  const ObjectPointer<JSCValue> script(evaluateOwn(context, contentScriptText));
  const ObjectPointer<JSCValue> ignored(jsc_value_function_call(
      script.get(), JSC_TYPE_VALUE, native.get(), JSC_TYPE_VALUE, actions_.get(), G_TYPE_NONE));
  startForms(native.get());
  const std::string problem = takeException(context);
  if (!problem.empty()) g_warning("The script in a page does not run: %s", problem.c_str());
}

void ContentScript::startForms(JSCValue* report) {
  JSCContext* context = context_.get();
  const ObjectPointer<JSCValue> fill(jsc_value_new_function(context, "fill", G_CALLBACK(onFill),
                                                            nullptr, nullptr, G_TYPE_NONE, 2,
                                                            JSC_TYPE_VALUE, G_TYPE_STRING));
  const ObjectPointer<JSCValue> isEdited(
      jsc_value_new_function(context, "isEdited", G_CALLBACK(onIsEdited), nullptr, nullptr,
                             G_TYPE_BOOLEAN, 1, JSC_TYPE_VALUE));
  const ObjectPointer<JSCValue> script(evaluateOwn(context, formsScript));
  const ObjectPointer<JSCValue> ignored(jsc_value_function_call(
      script.get(), JSC_TYPE_VALUE, report, JSC_TYPE_VALUE, actions_.get(), JSC_TYPE_VALUE,
      fill.get(), JSC_TYPE_VALUE, isEdited.get(), G_TYPE_NONE));
}

std::string ContentScript::run(PageAction action, std::vector<JSCValue*> arguments) {
  if (!actions_) return {};
  const ObjectPointer<JSCValue> function(
      jsc_value_object_get_property_at_index(actions_.get(), static_cast<guint>(action)));
  // Of a script that did not start.
  if (!jsc_value_is_function(function.get())) return {};
  const ObjectPointer<JSCValue> ignored(jsc_value_function_callv(
      function.get(), static_cast<guint>(arguments.size()), arguments.data()));
  return takeException(context_.get());
}

void ContentScript::formSubmitted(JSCValue* form) {
  const std::string problem = run(PageAction::submitted, {form});
  if (!problem.empty()) g_warning("A form that is sent cannot be read: %s", problem.c_str());
}

void ContentScript::formsChanged() {
  run(PageAction::formsChanged, {});
}

void ContentScript::watch(std::uint32_t watched) {
  const auto isOn = [&](Watched what) { return (watched & static_cast<std::uint32_t>(what)) != 0; };
  act({PageAction::watch,
       {isOn(Watched::Selection), isOn(Watched::Caret), isOn(Watched::Rendering),
        isOn(Watched::Clipboard), isOn(Watched::FormControls), isOn(Watched::Keys),
        isOn(Watched::Width)}});
  act({PageAction::watchForms, {isOn(Watched::FormTexts), isOn(Watched::Logins)}});
}

std::string ContentScript::act(const link_protocol::ActionCall& call) {
  if (!context_) return {};
  ScriptArguments arguments = toScript(context_.get(), call.arguments);
  return run(call.action, std::move(arguments.values));
}
