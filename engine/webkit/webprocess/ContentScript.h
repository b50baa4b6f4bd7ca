// The module's own scripts in a document: they report changes of the document and run actions for
// the program. They have a script world of their own. Web process, main thread only.
#pragma once

#include "engine/webkit/link/Frame.h"
#include "engine/webkit/webprocess/PageScripts.h"

#include <functional>
#include <string>
#include <vector>

class ContentScript {
 public:
  using Report = std::function<void(const link_protocol::PageReport&)>;

  // Runs the scripts in a new document's context; that of an older document is forgotten.
  void start(JSCContext* context, Report report);
  // A form is about to be sent, or others have come into the document.
  void formSubmitted(JSCValue* form);
  void formsChanged();
  // What to observe, bits of link_protocol::Watched; ignored before start.
  void watch(std::uint32_t watched);
  // Returns the exception that the action threw, or "".
  std::string act(const link_protocol::ActionCall& call);

 private:
  void startForms(JSCValue* report);
  std::string run(PageAction action, std::vector<JSCValue*> arguments);

  ObjectPointer<JSCContext> context_;
  ObjectPointer<JSCValue> actions_;  // the scripts' functions, by number
};
