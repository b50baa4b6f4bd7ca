// The native function "webview.setCapabilities". UI thread.
#include "bindings/CapabilitiesBinding.h"

#include "registry/NativeFunctions.h"
#include "webview/WebViewManager.h"

using Tessel::Platform::String;

namespace {

struct CapabilityFunctions {
  static bool setCapabilities(unsigned int view, const String& text) {
    return WebViewManager::instance().setCapabilities(view, text);
  }
};

}  // namespace

void registerCapabilityFunctions() {
  arguments::registerFunctions<"CapabilityFunctions", CapabilityFunctions>(
      BindingManager::instance());
}
