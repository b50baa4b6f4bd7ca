// The table of webview.* commands and the one handler that all of them share. UI thread.
#include "webview/commands/CommandTable.h"

#include "registry/NativeCall.h"
#include "registry/TableDocumentation.h"
#include "webview/WebView.h"
#include "webview/WebViewManager.h"
#include "webview/commands/IPCSenderWebView.h"
#include "webview/commands/Values.h"

#include <algorithm>
#include <array>
#include <tuple>
#include <utility>

using Tessel::Platform::concat;
using Tessel::Platform::String;

namespace arguments {

bool Value<OrvWebView*>::parse(Text text, OrvWebView*& value) {
  unsigned int handle = 0;
  if (!Value<unsigned int>::parse(text, handle)) return false;
  value = WebViewManager::instance().webViewForHandle(handle);
  return true;
}

}  // namespace arguments

namespace {

using arguments::answer;
using arguments::CallForm;
using arguments::Name;
using arguments::Reader;
using arguments::Text;
using arguments::Value;
using arguments::ViewHandle;
using commands::CommandTraitsOf;

void reportNotCreated(unsigned long handle, const char* name) {
  WebViewManager::instance().informChromeOfError(
      concat("WebView: ", String::fromUnsignedInteger(handle),
             " has not been created yet, so the call to \"", name, "\" will be ignored."));
}

// What every command does: check, convert, find the web view or its proxy, call, answer.
template <typename Traits>
void run(OrvWebJavaScriptCallbackEvent& event, const CallForm& form,
         typename Traits::Call operation, typename Traits::Send message) {
  using Result = typename Traits::Result;
  using Local = Reader<typename Traits::Arguments>;
  using Remote = Reader<typename Traits::ProxyArguments>;
  if (Local::wrongCount(event, form)) return;
  WebViewManager& manager = WebViewManager::instance();
  const Text handleText = event.args()[1] ? event.args()[1] : "";
  unsigned int handle = 0;
  Value<ViewHandle>::parse(handleText, handle);
  if (!manager.isCreated(handle)) {
    return reportNotCreated(arguments::lenientNumber(handleText), form.name);
  }

  // A command may delete the web view that it is for, by what it makes the chrome do.
  if (IPCSenderWebView* remote = manager.remoteWebViewForHandle(handle)) {
    typename Remote::Values values{};
    if (!Remote::read(event, form, values)) return;
    const Tessel::Platform::GuardedPin<IPCSenderWebView> pin(remote);
    const auto call = [&](const auto&... each) { return message(*remote, each...); };
    return answer<Result>(event, [&] { return std::apply(call, values); });
  }
  typename Local::Values values{};
  if (!Local::read(event, form, values)) return;
  const Tessel::Platform::GuardedPin<WebView> webView(manager.webViewForHandle(handle));
  // It was told of and is nowhere any more: records have a text even then.
  if constexpr (std::is_class_v<Result> && !std::is_same_v<Result, String>) {
    if (!webView) event.setResult(Value<Result>::text(Result{}));
  }
  if (!webView) return;
  const auto call = [&](const auto&... each) { return operation(*webView.get(), each...); };
  answer<Result>(event, [&] { return std::apply(call, values); });
}

// From here on each command has code of its own, and only a little.
template <int number, auto Operation, typename Arguments>
struct Sender;
template <int number, auto Operation, typename... Args>
struct Sender<number, Operation, std::tuple<Args...>> {
  static auto send(const IPCSenderWebView& remote, const Args&... arguments) {
    return remote.call<number, Operation>(arguments...);
  }
};

template <int number, Name name, auto Operation, Name... defaults>
void handle(OrvWebJavaScriptCallbackEvent* event) {
  using Traits = CommandTraitsOf<Operation>;
  static constexpr std::array<Text, sizeof...(defaults)> texts{defaults.text...};
  // The web view's handle comes first; errors count what follows.
  constexpr CallForm form{name.text, 2, 0, texts};
  run<Traits>(*event, form, Traits::template call<Operation>,
              Sender<number, Operation, typename Traits::ProxyArguments>::send);
}

template <int number, Name name, auto Operation, Name... defaults>
constexpr CommandRow row() {
  using Traits = CommandTraitsOf<Operation>;
  constexpr int optional = static_cast<int>(sizeof...(defaults));
  constexpr int count = static_cast<int>(std::tuple_size_v<typename Traits::Arguments>);
  static_assert(optional <= count);
  return {.name = name.text,
          .handler = handle<number, name, Operation, defaults...>,
          .messageFields = Traits::fieldLetters.data(),
          .messageNumber = std::max(number, 0),
          .requiredArguments = count - optional,
          .optionalArguments = optional,
          .messageReply = commands::Reply<typename Traits::Result>::letter};
}

#define COMMAND(number, name, ...) COMMAND_AS(number, name, name __VA_OPT__(, ) __VA_ARGS__)
#define COMMAND_AS(number, name, operation, ...) \
  row<number, #name, &WebView::operation __VA_OPT__(, ) __VA_ARGS__>(),
constexpr CommandRow rows[] = {
#include "registry/Commands.def"
};
#undef COMMAND_AS
#undef COMMAND

constexpr bool namesAscend() {
  return std::adjacent_find(std::begin(rows), std::end(rows), [](const auto& a, const auto& b) {
           return std::string_view(a.name) >= std::string_view(b.name);
         }) == std::end(rows);
}
static_assert(namesAscend(), "Commands.def is in byte order of the names, each name once");

constexpr bool numbersAreUnique() {
  std::array<int, std::size(rows)> numbers{};
  std::transform(std::begin(rows), std::end(rows), numbers.begin(),
                 [](const CommandRow& row) { return row.messageNumber; });
  std::sort(numbers.begin(), numbers.end());
  const auto used = std::upper_bound(numbers.begin(), numbers.end(), 0);
  return std::adjacent_find(used, numbers.end()) == numbers.end();
}
static_assert(numbersAreUnique(), "a message number in Commands.def stands for one command");

#define COMMAND(number, name, ...) COMMAND_AS(number, name, name)
#define COMMAND_AS(number, name, operation, ...) \
  table_documentation::row<CommandTraitsOf<&WebView::operation>::Arguments>(#name),
#define DOC(effect, names, text) table_documentation::doc(names),
constexpr table_documentation::Entry documentation[] = {
#include "registry/Commands.def"
};
#undef DOC
#undef COMMAND_AS
#undef COMMAND
static_assert(table_documentation::AllBut<
              table_documentation::firstUndocumented(documentation)>::areDocumented);

}  // namespace

std::span<const CommandRow> commandTable() {
  return rows;
}

void registerCommands(BindingManager& bindings) {
  for (const CommandRow& command : rows) {
    bindings.registerBinding(concat("webview.", command.name), command.handler);
  }
}
