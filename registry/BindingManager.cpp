// The registry of native functions. UI thread only.
#include "registry/BindingManager.h"

#include "platform/base/Log.h"
#include "registry/NativeFunctions.h"

#include <algorithm>

using Tessel::Platform::concat;
using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::String;

BindingManager& BindingManager::instance() {
  static auto* manager = new BindingManager;
  return *manager;
}

BindingManager::BindingManager() {
  arguments::registerFunctions<"BindingManager", BindingManager>(*this);
}

void BindingManager::registerBinding(const String& name, BindingHandler handler) {
  handlers_.emplace(name, handler);
}

void BindingManager::dispatch(OrvWebJavaScriptCallbackEvent* event) {
  if (event->numArgs() == 0) return;
  const String name(event->args()[0]);
  const auto found = handlers_.find(name);
  if (found == handlers_.end()) {
    report(concat("Binding for native function: \"", name, "\" does not exist."));
    return;
  }
  found->second(event);
}

void BindingManager::report(const String& error) const {
  if (sink_) return sink_(error);
  logAlways(LogError, "%s", error.utf8());
}

String BindingManager::listBindings() const {
  std::string names;
  for (const auto& [name, handler] : handlers_) names.append(name.view()).push_back('\n');
  return names;
}

bool BindingManager::checkArgumentCount(int count, int required, const char* function,
                                        int maximum) {
  const int most = std::max(required, maximum);
  if (required <= count && count <= most) return false;
  const auto number = [](int value) { return String::fromSignedInteger(value); };
  String text = concat("Native function: \"", function, "\" was called with: ", number(count),
                       " arguments when it requires: ", number(required));
  if (most != required) text = concat(text, " (", number(most), " with optional args)");
  instance().report(text);
  return true;
}

void BindingManager::reportArgumentError(int position, const char* text, const char* function) {
  instance().report(concat("Argument error when trying to call native function: \"", function,
                           "\" with argument \"", text ? text : "",
                           "\" at position: ", String::fromSignedInteger(position)));
}
