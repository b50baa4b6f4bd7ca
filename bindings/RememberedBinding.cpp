// The native functions "remembered.*". UI thread.
#include "bindings/RememberedBinding.h"

#include "engine/OrvWebEvents.h"
#include "engine/autofill/PasswordStore.h"
#include "registry/NativeFunctions.h"

using Tessel::Platform::String;

namespace {

struct RememberedFunctions {
  static String logins() { return jsonOf(FilePasswordStore(autofillFolder()).list()); }
  static void forgetLogin(const String& place, const String& username) {
    FilePasswordStore(autofillFolder()).forget(place, username);
  }
};

}  // namespace

void registerRememberedFunctions() {
  arguments::registerFunctions<"RememberedFunctions", RememberedFunctions>(
      BindingManager::instance());
}
