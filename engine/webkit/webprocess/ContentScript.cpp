// The module's own script in a document. Web process, main thread only.
#include "engine/webkit/webprocess/ContentScript.h"

#include "ContentScriptText.h"
#include "FormsScript.h"

#include <webkit2/webkit-web-extension.h>

using link_protocol::Watched;

namespace {

// report(what, ...values) of the script.
JSCValue* onReport(GPtrArray* arguments, gpointer data) {
  const FunctionCall report = callFrom(arguments);
  if (!report.path.empty()) (*static_cast<ContentScript::Report*>(data))(report);
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
  actions_.reset();
  formActions_.reset();
  const ObjectPointer<JSCValue> script(jsc_context_evaluate(context, contentScriptText, -1));
  const ObjectPointer<JSCValue> native(makeVariadic(
      context, makePageFunctions(context).wrapOwn.get(), "report", onReport,
      new Report(std::move(report)), [](gpointer data) { delete static_cast<Report*>(data); }));
  actions_.reset(jsc_value_function_call(script.get(), JSC_TYPE_VALUE, native.get(), G_TYPE_NONE));
  startForms(native.get());
  const std::string problem = takeException(context);
  if (!problem.empty()) g_warning("The script in a page does not run: %s", problem.c_str());
}

// The actions of the forms script are run like the others.
void ContentScript::startForms(JSCValue* report) {
  JSCContext* context = context_.get();
  const ObjectPointer<JSCValue> script(jsc_context_evaluate(context, formsScript, -1));
  const ObjectPointer<JSCValue> fill(jsc_value_new_function(context, "fill", G_CALLBACK(onFill),
                                                            nullptr, nullptr, G_TYPE_NONE, 2,
                                                            JSC_TYPE_VALUE, G_TYPE_STRING));
  const ObjectPointer<JSCValue> isEdited(
      jsc_value_new_function(context, "isEdited", G_CALLBACK(onIsEdited), nullptr, nullptr,
                             G_TYPE_BOOLEAN, 1, JSC_TYPE_VALUE));
  formActions_.reset(jsc_value_function_call(script.get(), JSC_TYPE_VALUE, report, JSC_TYPE_VALUE,
                                             fill.get(), JSC_TYPE_VALUE, isEdited.get(),
                                             G_TYPE_NONE));
}

void ContentScript::formSubmitted(JSCValue* form) {
  if (!formActions_ || !jsc_value_is_object(formActions_.get())) return;
  const ObjectPointer<JSCValue> ignored(jsc_value_object_invoke_method(
      formActions_.get(), "submitted", JSC_TYPE_VALUE, form, G_TYPE_NONE));
  const std::string problem = takeException(context_.get());
  if (!problem.empty()) g_warning("A form that is sent cannot be read: %s", problem.c_str());
}

void ContentScript::formsChanged() {
  if (formActions_) act({{"formsChanged"}, {}});
}

void ContentScript::watch(std::uint32_t watched) {
  FunctionCall call{{"watch"}, {}};
  for (const Watched one :
       {Watched::Selection, Watched::Caret, Watched::Rendering, Watched::Clipboard,
        Watched::FormControls, Watched::Keys, Watched::Width}) {
    call.arguments.emplace_back((watched & static_cast<std::uint32_t>(one)) != 0);
  }
  if (!actions_) return;
  act(call);
  const auto isOn = [&](Watched what) { return (watched & static_cast<std::uint32_t>(what)) != 0; };
  act({{"watchForms"}, {isOn(Watched::FormTexts), isOn(Watched::Logins)}});
}

std::string ContentScript::act(const FunctionCall& action) {
  if (action.path.empty()) return {};
  const char* name = action.path.front().utf8();
  JSCValue* actions = nullptr;
  for (const auto* some : {&actions_, &formActions_}) {
    if (*some && jsc_value_is_object(some->get()) &&
        jsc_value_object_has_property(some->get(), name)) {
      actions = some->get();
    }
  }
  if (!actions) return {};
  std::vector<ObjectPointer<JSCValue>> arguments;
  std::vector<JSCValue*> parameters;
  for (const JavaScriptVariant& argument : action.arguments) {
    arguments.emplace_back(toScript(context_.get(), argument));
    parameters.push_back(arguments.back().get());
  }
  const ObjectPointer<JSCValue> result(jsc_value_object_invoke_methodv(
      actions, name, static_cast<guint>(parameters.size()), parameters.data()));
  return takeException(context_.get());
}
