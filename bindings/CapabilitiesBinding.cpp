// The native function "webview.setCapabilities". UI thread.
#include "bindings/CapabilitiesBinding.h"

#include "registry/Arguments.h"
#include "registry/Capabilities.h"
#include "webview/WebViewManager.h"

namespace {

using Event = OrvWebJavaScriptCallbackEvent;
using Tessel::Platform::concat;
using Tessel::Platform::String;

void jsSetCapabilities(Event* event) {
  if (arguments::wrongCount(*event, 3, "jsSetCapabilities")) return;
  WebViewManager& manager = WebViewManager::instance();
  const String view = arguments::textAt(*event, 1);
  const String text = arguments::textAt(*event, 2);
  std::string problem;
  if (!Capabilities::read(text.toStdString(), problem)) {
    manager.informChromeOfError(concat("Capabilities: ", String(problem)));
    return event->setResult("0");
  }
  const auto handle = static_cast<unsigned int>(std::strtoul(view.utf8(), nullptr, 10));
  event->setResult(manager.setCapabilities(handle, text) ? "1" : "0");
}

}  // namespace

void registerCapabilityFunctions() {
  BindingManager::instance().registerBinding("webview.setCapabilities", jsSetCapabilities);
}
