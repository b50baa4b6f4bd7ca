// Native functions that do nothing but ask the navigator, and the chrome's functions that are
// called for its notifications. UI thread.
#pragma once

#include "engine/JavaScriptVariant.h"
#include "platform/desktop/NavigatorHandler.h"
#include "platform/loop/GuardedPointer.h"
#include "registry/BindingManager.h"

#include <algorithm>
#include <vector>

class WebView;

namespace navigator {

using Tessel::Platform::NavigatorHandler;
using Tessel::Platform::String;

// A text as the argument of a template.
template <std::size_t size>
struct Name {
  constexpr Name(const char (&name)[size]) { std::copy_n(name, size, text); }
  char text[size];
};

// The argument of that index, where 0 is the function's own name; never null.
const char* argumentAt(const OrvWebJavaScriptCallbackEvent& event, unsigned int index);
// In base 10, as far as it is a number; 0 where it is none.
unsigned long numberAt(const OrvWebJavaScriptCallbackEvent& event, unsigned int index);

template <typename Value>
std::decay_t<Value> argumentAs(const OrvWebJavaScriptCallbackEvent& event, unsigned int index) {
  using Plain = std::decay_t<Value>;
  if constexpr (std::is_same_v<Plain, bool>) {
    return std::string_view(argumentAt(event, index)) == "true";
  } else if constexpr (std::is_same_v<Plain, int>) {
    return static_cast<int>(numberAt(event, index));
  } else {
    return String(argumentAt(event, index));
  }
}

template <typename Result, typename... Parameters, std::size_t... index>
void ask(OrvWebJavaScriptCallbackEvent& event, Result (NavigatorHandler::*request)(Parameters...),
         std::index_sequence<index...>) {
  NavigatorHandler& handler = NavigatorHandler::instance();
  const auto call = [&] {
    return (handler.*
            request)(argumentAs<Parameters>(event, static_cast<unsigned int>(index + 1))...);
  };
  if constexpr (std::is_void_v<Result>) {
    call();
  } else if constexpr (std::is_same_v<Result, bool>) {
    event.setResult(String::fromUnsignedInteger(call() ? 1 : 0));
  } else {
    event.setResult(call());
  }
}

// True, and reported, when the event does not have as many arguments as the request takes; where
// errors have no name, nobody counts.
template <typename Result, typename... Parameters>
bool isRefused(const OrvWebJavaScriptCallbackEvent& event, const char* nameInErrors,
               Result (NavigatorHandler::*request)(Parameters...)) {
  static_cast<void>(request);
  constexpr int required = sizeof...(Parameters) + 1;
  return *nameInErrors != '\0' && BindingManager::checkArgumentCount(
                                      static_cast<int>(event.numArgs()), required, nameInErrors);
}

// The number of a request's parameters, as indices.
template <typename Result, typename... Parameters>
constexpr auto indicesOf(Result (NavigatorHandler::*)(Parameters...)) {
  return std::index_sequence_for<Parameters...>();
}

// A handler that passes its arguments to a request, and the request's answer back.
template <Name nameInErrors, auto request>
void call(OrvWebJavaScriptCallbackEvent* event) {
  static_assert(sizeof nameInErrors.text > 1 || indicesOf(request).size() == 0,
                "arguments that nobody counts may be missing");
  if (isRefused(*event, nameInErrors.text, request)) return;
  ask(*event, request, indicesOf(request));
}

// Calls chrome.internal.<space>.<event>(arguments). Without a chrome nothing happens. Returns when
// the chrome has heard, or has not for some seconds, where nothing of it may be left afterwards;
// else at once.
void tellChrome(const Tessel::Platform::GuardedPointer<WebView>& chrome, const char* space,
                const char* event, const std::vector<JavaScriptVariant>& arguments,
                bool waits = false);

// The text with its first "_" replaced by "-".
String withHyphen(const String& locale);

}  // namespace navigator
