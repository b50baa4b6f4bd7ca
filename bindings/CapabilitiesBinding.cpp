// The native function "webview.setCapabilities". UI thread.
#include "bindings/CapabilitiesBinding.h"

#include "registry/Capabilities.h"
#include "registry/NativeFunctions.h"
#include "webview/WebViewManager.h"

using Tessel::Platform::concat;
using Tessel::Platform::String;

namespace {

struct CapabilityFunctions {
  static bool setCapabilities(unsigned int view, const String& text) {
    WebViewManager& manager = WebViewManager::instance();
    std::string problem;
    if (!Capabilities::read(text.toStdString(), problem)) {
      manager.informChromeOfError(concat("Capabilities: ", String(problem)));
      return false;
    }
    return manager.setCapabilities(view, text);
  }
};

}  // namespace

void registerCapabilityFunctions() {
  arguments::registerFunctions<"CapabilityFunctions", CapabilityFunctions>(
      BindingManager::instance());
}
