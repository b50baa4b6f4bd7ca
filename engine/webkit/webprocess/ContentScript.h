// The module's own script in a document: it tells what changes there and does what the program
// asks. It lives in a script world of its own. Web process, main thread only.
#pragma once

#include "engine/webkit/link/Frame.h"
#include "engine/webkit/webprocess/PageScripts.h"

#include <functional>
#include <string>

class ContentScript {
 public:
  using Report = std::function<void(const FunctionCall&)>;

  // Runs the script in a new document's context; that of an older document is forgotten.
  void start(JSCContext* context, Report report);
  // A form is about to be sent, or others have come into the document.
  void formSubmitted(JSCValue* form);
  void formsChanged();
  // What to look for, bits of link_protocol::Watched; nothing before start.
  void watch(std::uint32_t watched);
  // Runs an action by its name, the path's first. The result tells of what was thrown.
  std::string act(const FunctionCall& action);

 private:
  void startForms(JSCValue* report);

  ObjectPointer<JSCContext> context_;
  ObjectPointer<JSCValue> actions_;
  ObjectPointer<JSCValue> formActions_;
};
