// The module's own script in a document: it reports changes of the document and runs actions for
// the program. It has a script world of its own. Web process, main thread only.
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
  // What to observe, bits of link_protocol::Watched; ignored before start.
  void watch(std::uint32_t watched);
  // Runs the action that the path names first. Returns the exception it threw, or "".
  std::string act(const FunctionCall& action);

 private:
  void startForms(JSCValue* report);

  ObjectPointer<JSCContext> context_;
  ObjectPointer<JSCValue> actions_;
  ObjectPointer<JSCValue> formActions_;
};
