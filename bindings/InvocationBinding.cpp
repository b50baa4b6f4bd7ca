// The invocation.* functions, and requests of other applications to the chrome. UI thread.
#include "bindings/InvocationBinding.h"

#include "bindings/NavigatorCall.h"
#include "registry/NativeFunctions.h"
#include "webview/WebView.h"

using Tessel::Platform::NavigatorHandler;

namespace {

template <typename... Texts>
std::vector<JavaScriptVariant> variants(const Texts&... texts) {
  return {JavaScriptVariant(texts)...};
}

}  // namespace

InvocationBinding::InvocationBinding(WebView* root) : root_(root) {
  NavigatorHandler::instance().addListener(this);
  arguments::registerFunctions<"InvocationFunctions", navigator::Requests>(
      BindingManager::instance());
}

InvocationBinding::~InvocationBinding() {
  NavigatorHandler::instance().removeListener(this);
}

#define INVOCATION_NOTIFICATION(name, Result, parameters, arguments, text) \
  Result InvocationBinding::name parameters {                              \
    navigator::tellChrome(root_, "invocation", #name, variants arguments); \
  }
#include "platform/desktop/Notifications.def"
