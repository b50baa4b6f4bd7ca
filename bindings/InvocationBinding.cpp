// The invocation.* functions, and what other applications want told to the chrome. UI thread.
#include "bindings/InvocationBinding.h"

#include "bindings/NavigatorCall.h"
#include "webview/WebView.h"

using navigator::call;
using Tessel::Platform::NavigatorHandler;

namespace {

struct {
  const char* name;
  BindingHandler handler;
} constexpr functions[] = {
    {"invocation.closeViewer", call<"jsCloseViewer", &NavigatorHandler::closeViewer>},
    {"invocation.invoke", call<"jsInvoke", &NavigatorHandler::invoke>},
    {"invocation.invokeRequest", call<"", &NavigatorHandler::invokeRequest>},
    {"invocation.invokeViewer", call<"jsInvokeViewer", &NavigatorHandler::invokeViewer>},
    {"invocation.queryTargets", call<"jsQueryTargets", &NavigatorHandler::queryTargets>},
    {"invocation.setViewerPosition",
     call<"jsSetViewerPosition", &NavigatorHandler::setViewerPosition>},
    {"invocation.setViewerVisibility",
     call<"jsSetViewerVisibility", &NavigatorHandler::setViewerVisibility>},
    {"invocation.setViewerZOrder", call<"jsSetViewerZOrder", &NavigatorHandler::setViewerZOrder>},
    {"invocation.viewerRelay", call<"jsViewerRelay", &NavigatorHandler::viewerRelay>},
    {"invocation.cardPeek", call<"jsCardPeek", &NavigatorHandler::cardPeek>},
    {"invocation.cardClose", call<"jsCardClose", &NavigatorHandler::cardClose>},
    {"invocation.cardChildClose", call<"", &NavigatorHandler::cardChildClose>},
    {"invocation.cardResize", call<"jsCardResize", &NavigatorHandler::cardResize>},
    {"invocation.getInvokeTargetFilters",
     call<"jsGetInvokeTargetFilters", &NavigatorHandler::getInvokeTargetFilters>},
    {"invocation.setInvokeTargetFilters",
     call<"jsSetInvokeTargetFilters", &NavigatorHandler::setInvokeTargetFilters>},
};

template <typename... Texts>
std::vector<JavaScriptVariant> variants(const Texts&... texts) {
  return {JavaScriptVariant(texts)...};
}

}  // namespace

InvocationBinding::InvocationBinding(WebView* root) : root_(root) {
  NavigatorHandler::instance().addListener(this);
  for (const auto& [name, handler] : functions) {
    BindingManager::instance().registerBinding(name, handler);
  }
}

InvocationBinding::~InvocationBinding() {
  NavigatorHandler::instance().removeListener(this);
}

#define INVOCATION_NOTIFICATION(name, Result, parameters, arguments, text) \
  Result InvocationBinding::name parameters {                              \
    navigator::tellChrome(root_, "invocation", #name, variants arguments); \
  }
#include "platform/desktop/Notifications.def"
