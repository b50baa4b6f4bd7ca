// Collects the native functions for the reference from the tables. Main thread.
#include "tools/reference/Functions.h"

#include "bindings/ApplicationBinding.h"
#include "bindings/CapabilitiesBinding.h"
#include "bindings/CclBinding.h"
#include "bindings/InvocationBinding.h"
#include "bindings/PPSBinding.h"
#include "bindings/RememberedBinding.h"
#include "bindings/WindowAnimations.h"
#include "platform/graphics/MemoryWindowSystem.h"
#include "registry/BindingManager.h"
#include "src/ApplicationWindow.h"
#include "webview/WebViewManager.h"
#include "webview/commands/CommandMessages.h"
#include "webview/commands/CommandTable.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <sstream>

namespace reference {

namespace {

[[noreturn]] void fail(const std::string& problem) {
  std::fprintf(stderr, "generate_reference: %s\n", problem.c_str());
  std::exit(EXIT_FAILURE);
}

std::vector<std::string> namesIn(const char* list) {
  std::vector<std::string> names;
  std::istringstream stream(list);
  for (std::string name; std::getline(stream >> std::ws, name, ',');) names.push_back(name);
  return names;
}

template <typename Arguments>
struct ArgumentTexts;
template <typename... Args>
struct ArgumentTexts<std::tuple<Args...>> {
  static std::vector<Argument> make(Records& records) {
    return {Argument{{}, argumentText<Args>(records), arguments::isOptional<Args>, {}}...};
  }
};

class Collector {
 public:
  explicit Collector(Records& records) : records_(records) {}

  template <typename Shape>
  void add(const std::string& name, bool ofWebView, std::vector<std::string> fallbacks) {
    Function& function = functions_.emplace_back();
    function.name = name;
    function.ofWebView = ofWebView;
    function.arguments = ArgumentTexts<typename Shape::Arguments>::make(records_);
    function.result = resultText<typename Shape::Result>(records_);
    auto& arguments = function.arguments;
    if (fallbacks.size() > arguments.size()) fail(name + " has more defaults than arguments");
    for (std::size_t i = 0; i < fallbacks.size(); ++i) {
      Argument& argument = arguments[arguments.size() - fallbacks.size() + i];
      argument.optional = true;
      argument.fallback = fallbacks[i];
    }
  }

  // Sets the group of the function that was added last.
  void join(const char* group) { functions_.back().group = group; }
  void document(Effect effect, const char* names, const char* text) {
    Function& function = functions_.back();
    const std::vector<std::string> list = namesIn(names);
    if (list.size() != function.arguments.size() || !function.text.empty()) {
      fail(function.name + " has no DOC of its own that names all its arguments");
    }
    std::set<std::string> used{function.ofWebView ? "view" : ""};
    for (std::size_t i = 0; i < list.size(); ++i) {
      if (!used.insert(list[i]).second) fail(function.name + " has two arguments named " + list[i]);
      function.arguments[i].name = list[i];
    }
    function.effect = effect;
    function.text = text;
  }

  std::vector<Function> take() { return std::move(functions_); }

 private:
  Records& records_;
  std::vector<Function> functions_;
};

#define DOC(effect, names, text) collector.document(Effect::effect, names, text);

void addOthers(Collector& collector) {
  using namespace arguments;
#define FUNCTION(module, name, operation, group, nameInErrors, Row, ...) \
  collector.add<Signature<Row>>(name, false, {__VA_ARGS__});             \
  collector.join(function_groups::group);
#include "registry/NativeFunctions.def"
#undef FUNCTION
}

void addCommands(Collector& collector) {
#define COMMAND(number, name, ...) COMMAND_AS(number, name, name __VA_OPT__(, ) __VA_ARGS__)
#define COMMAND_AS(number, name, operation, ...)                                        \
  collector.add<commands::CommandTraitsOf<&WebView::operation>>("webview." #name, true, \
                                                                {__VA_ARGS__});
#include "registry/Commands.def"
#undef COMMAND_AS
#undef COMMAND
}
#undef DOC

// The names that the program registers at start-up.
std::set<std::string> registeredNames() {
  WebViewManager::instance();
  ApplicationWindow::instance();
  const ApplicationBinding application(nullptr, nullptr);
  const InvocationBinding invocation(nullptr);
  registerRememberedFunctions();
  registerCapabilityFunctions();
  WindowAnimations::instance();
  BindingManager& bindings = BindingManager::instance();
  registerCommands(bindings);
  CclBinding::instance();
  PPSBinding::instance();
  OrvWebJavaScriptCallbackEvent event({"bindingManager.listBindings"});
  bindings.dispatch(&event);
  std::set<std::string> names;
  std::istringstream list(event.result().toStdString());
  for (std::string name; std::getline(list, name);) names.insert(name);
  return names;
}

}  // namespace

std::vector<Function> nativeFunctions(Records& records) {
  Collector collector(records);
  addOthers(collector);
  addCommands(collector);
  std::vector<Function> functions = collector.take();
  std::set<std::string> registered = registeredNames();
  for (const Function& function : functions) {
    if (registered.erase(function.name) == 0) fail(function.name + " is not registered");
  }
  for (const std::string& name : registered) {
    fail(name + " is registered, and registry/NativeFunctions.def does not have it");
  }
  return functions;
}

}  // namespace reference
