// The native functions "remembered.*". UI thread.
#include "bindings/RememberedBinding.h"

#include "engine/OrvWebEvents.h"
#include "engine/autofill/PasswordStore.h"
#include "registry/Arguments.h"

namespace {

using Event = OrvWebJavaScriptCallbackEvent;

void jsLogins(Event* event) {
  event->setResult(jsonOf(FilePasswordStore(autofillFolder()).list()));
}

void jsForgetLogin(Event* event) {
  if (arguments::wrongCount(*event, 3, "jsForgetLogin")) return;
  FilePasswordStore(autofillFolder())
      .forget(arguments::textAt(*event, 1), arguments::textAt(*event, 2));
}

}  // namespace

void registerRememberedFunctions() {
  BindingManager& manager = BindingManager::instance();
  manager.registerBinding("remembered.logins", jsLogins);
  manager.registerBinding("remembered.forgetLogin", jsForgetLogin);
}
