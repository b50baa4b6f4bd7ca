// The windowAnimations.* functions, window.setDiscardRects, and the notifications of the chrome
// about both under chrome.internal.windowAnimations. UI thread.
#pragma once

#include "engine/JavaScriptVariant.h"
#include "platform/base/String.h"
#include "platform/graphics/Window.h"

#include <vector>

class WindowAnimations {
 public:
  // Made on first use, never destroyed. Registers its functions and those of touch tracking.
  static WindowAnimations& instance();

  // Calls chrome.internal.windowAnimations.<name> and does not wait. Without a chrome nothing
  // happens.
  static void post(const Tessel::Platform::String& name,
                   const std::vector<JavaScriptVariant>& arguments);

  // The window that the chrome names by a handle; null for 0 and for what names no window.
  static Tessel::Platform::Graphics::Window* windowOf(unsigned long handle);

 private:
  WindowAnimations();
};
