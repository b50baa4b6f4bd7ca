// The table of webview.* commands and the one handler that all of them share. UI thread.
#include "webview/commands/CommandTable.h"

#include "registry/Arguments.h"
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

namespace commands {

bool Value<OrvWebView*>::parse(const char* text, OrvWebView*& value) {
  unsigned int handle = 0;
  if (!Value<unsigned int>::parse(text, handle)) return false;
  value = WebViewManager::instance().webViewForHandle(handle);
  return true;
}

}  // namespace commands

namespace {

using commands::CommandTraitsOf;
using commands::Value;

// A command's name as a template argument, so that each command is a plain function of its own.
template <std::size_t Size>
struct Name {
  char text[Size]{};
  // NOLINTNEXTLINE(google-explicit-constructor): a string literal is meant to become one
  constexpr Name(const char (&literal)[Size]) { std::copy_n(literal, Size, text); }
};

// The arguments before the first one of the command itself: the function's name and the handle.
constexpr int leadingArguments = 2;

// The text of an argument of the command; null when it was left out.
const char* argumentText(const OrvWebJavaScriptCallbackEvent& event, std::size_t position) {
  const std::size_t index = position + leadingArguments;
  if (index >= event.numArgs()) return nullptr;
  const char* text = event.args()[index];
  return text ? text : "";
}

void reportNotCreated(unsigned long handle, const char* name) {
  WebViewManager::instance().informChromeOfError(
      concat("WebView: ", String::fromUnsignedInteger(handle),
             " has not been created yet, so the call to \"", name, "\" will be ignored."));
}

// What a handler knows of its command beside the operation.
struct CommandInfo {
  const char* name;
  // The texts of the last arguments when they are left out.
  std::span<const char* const> defaults;
};

// Reads the arguments in order; false, and the first refused one is reported, when one is refused.
template <typename Arguments>
bool readArguments(const OrvWebJavaScriptCallbackEvent& event, const CommandInfo& info,
                   Arguments& arguments) {
  constexpr std::size_t count = std::tuple_size_v<Arguments>;
  [[maybe_unused]] const auto read = [&](std::size_t position, auto& argument) {
    const char* text = argumentText(event, position);
    const std::size_t fromEnd = count - position;
    if (!text && fromEnd <= info.defaults.size()) {
      text = info.defaults[info.defaults.size() - fromEnd];
    }
    if (!text) return false;  // counted before, so it is there
    if (Value<std::remove_reference_t<decltype(argument)>>::parse(text, argument)) return true;
    BindingManager::reportArgumentError(static_cast<int>(position), text, info.name);
    return false;
  };
  return [&]<std::size_t... I>(std::index_sequence<I...>) {
    return (read(I, std::get<I>(arguments)) && ...);
  }
  (std::make_index_sequence<count>());
}

// Calls with the arguments, and answers with the result if there is one.
template <typename Result, typename Arguments, typename Call>
void answer(OrvWebJavaScriptCallbackEvent& event, const Arguments& arguments, const Call& call) {
  if constexpr (std::is_void_v<Result>) {
    std::apply(call, arguments);
  } else {
    event.setResult(Value<Result>::text(std::apply(call, arguments)));
  }
}

// What every command does: check, convert, find the web view or its proxy, call, answer.
template <typename Traits>
void run(OrvWebJavaScriptCallbackEvent& event, const CommandInfo& info,
         typename Traits::Call operation, typename Traits::Send message) {
  using Result = typename Traits::Result;
  constexpr int count = static_cast<int>(std::tuple_size_v<typename Traits::Arguments>);
  const int optional = static_cast<int>(info.defaults.size());
  if (BindingManager::checkArgumentCount(static_cast<int>(event.numArgs()) - leadingArguments,
                                         count - optional, info.name, optional > 0 ? count : -1)) {
    return;
  }
  WebViewManager& manager = WebViewManager::instance();
  const unsigned int handle = arguments::handleAt(event, 1);
  if (!manager.isCreated(handle)) {
    return reportNotCreated(arguments::unsignedAt(event, 1), info.name);
  }

  // A command may delete the web view that it is for, by what it makes the chrome do.
  if (IPCSenderWebView* remote = manager.remoteWebViewForHandle(handle)) {
    typename Traits::ProxyArguments arguments{};
    if (!readArguments(event, info, arguments)) return;
    const Tessel::Platform::GuardedPin<IPCSenderWebView> pin(remote);
    return answer<Result>(event, arguments,
                          [&](const auto&... values) { return message(*remote, values...); });
  }
  typename Traits::Arguments arguments{};
  if (!readArguments(event, info, arguments)) return;
  const Tessel::Platform::GuardedPin<WebView> webView(manager.webViewForHandle(handle));
  // It was told of and is nowhere any more: records have a text even then.
  if constexpr (std::is_class_v<Result> && !std::is_same_v<Result, String>) {
    if (!webView) event.setResult(Value<Result>::text(Result{}));
  }
  if (!webView) return;
  answer<Result>(event, arguments,
                 [&](const auto&... values) { return operation(*webView.get(), values...); });
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
  static constexpr std::array<const char*, sizeof...(defaults)> texts{defaults.text...};
  run<Traits>(*event, {name.text, texts}, Traits::template call<Operation>,
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
          .messageNumber = number,
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

// Each row and its documentation: a mark, then how many arguments are named.
constexpr int rowMark = -1;
constexpr int namesIn(std::string_view list) {
  return list.empty() ? 0 : 1 + static_cast<int>(std::count(list.begin(), list.end(), ','));
}
#define COMMAND(number, name, ...) rowMark,
#define COMMAND_AS(number, name, operation, ...) rowMark,
#define DOC(effect, arguments, text) namesIn(arguments),
constexpr int documentation[] = {
#include "registry/Commands.def"
};
#undef DOC
#undef COMMAND_AS
#undef COMMAND

constexpr bool isDocumented() {
  if (std::size(documentation) != 2 * std::size(rows)) return false;
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    const int count = rows[i].requiredArguments + rows[i].optionalArguments;
    if (documentation[2 * i] != rowMark || documentation[2 * i + 1] != count) return false;
  }
  return true;
}
static_assert(isDocumented(),
              "in Commands.def one DOC follows each row and names all arguments of the operation");

}  // namespace

std::span<const CommandRow> commandTable() {
  return rows;
}

void registerCommands(BindingManager& bindings) {
  for (const CommandRow& command : rows) {
    bindings.registerBinding(concat("webview.", command.name), command.handler);
  }
}
