// Which origins may call which native functions. Plain values; any thread.
#pragma once

#include "engine/OrvWebEvent.h"
#include "engine/TrustedLoads.h"
#include "platform/base/String.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

class Capabilities {
 public:
  using String = Tessel::Platform::String;

  // What the program itself has loaded may call everything, and nothing else may call anything.
  Capabilities() = default;

  // A JSON object of lists by origin, for example
  //   {"self": ["*"], "https://panel.example.org": ["pps.*", "analytics", "application.rotate"]}
  // An entry of a list is the name of a function, a prefix of names with ".*", a group of
  // FunctionGroups.def, or "*". "self" is what the program itself has loaded; without it that may
  // call everything. Origins count whole: scheme, host and port; a file's is its folder, with a
  // slash at its end. Nothing for a text that is anything else, and the problem, which begins with
  // its line and column.
  static std::optional<Capabilities> read(const std::string& json, std::string& problem);

  // Whether that call may be made, by the origin that the engine has told.
  bool allow(const OrvWebJavaScriptCallbackEvent& call) const;
  // Those beside the program's own.
  std::vector<String> origins() const;

 private:
  using Patterns = std::vector<std::string>;
  struct Entry {
    Origin origin;
    Patterns patterns;
  };

  Patterns own_{"*"};
  std::vector<Entry> others_;
};
