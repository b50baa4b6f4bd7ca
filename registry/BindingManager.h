// The registry of native functions: names to handlers, dispatch, and the error texts that every
// handler reports with. UI thread only; there is no lock.
#pragma once

#include "engine/OrvWebEvent.h"
#include "platform/base/String.h"

#include <functional>
#include <map>

// Runs one call: reads the event's arguments and answers with its setResult. Not answering gives
// the page the empty string.
using BindingHandler = void (*)(OrvWebJavaScriptCallbackEvent* event);

class BindingManager {
 public:
  using String = Tessel::Platform::String;

  // Created on first use, never destroyed. Registers "bindingManager.listBindings".
  static BindingManager& instance();

  // A name that is there already keeps its handler.
  void registerBinding(const String& name, BindingHandler handler);

  // Runs the handler that the event's first argument names. An unknown name is an error of the
  // chrome's; an event without arguments is ignored.
  void dispatch(OrvWebJavaScriptCallbackEvent* event);

  // Who tells the chrome of the errors below and of unknown names. Without one they are logged.
  void setErrorSink(std::function<void(const String& error)> sink) { sink_ = std::move(sink); }

  // Every name in byte order, each followed by a line break.
  String listBindings() const;

  // True, and the error is reported, when the count is not acceptable: below required, or above
  // the larger of required and maximum. The maximum is -1 where nothing is optional. The function
  // goes by its handler's internal name, and what is counted is the handler's choice.
  static bool checkArgumentCount(int count, int required, const char* function, int maximum = -1);
  // Reports an argument that could not be converted.
  static void reportArgumentError(int position, const char* text, const char* function);

 private:
  BindingManager();

  void report(const String& error) const;

  std::map<String, BindingHandler, std::less<>> handlers_;
  std::function<void(const String&)> sink_;
};
