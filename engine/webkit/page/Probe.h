// The module's own script in a document: it tells what changes there and does what the program
// asks. It lives in a script world of its own. Web process, main thread only.
#pragma once

#include "engine/webkit/link/Frame.h"
#include "engine/webkit/page/PageScripts.h"

#include <functional>
#include <string>

class Probe {
 public:
  using Report = std::function<void(const FunctionCall&)>;

  // Runs the script in a new document's context; a probe of an older document is forgotten.
  void start(JSCContext* context, Report report);
  // What to look for, bits of link_protocol::Watched; nothing before start.
  void watch(std::uint32_t watched);
  // Runs an action by its name, the path's first. The result tells of what was thrown.
  std::string act(const FunctionCall& action);

 private:
  ObjectPointer<JSCContext> context_;
  ObjectPointer<JSCValue> actions_;
};
