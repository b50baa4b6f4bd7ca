// The native function "webview.setCapabilities". UI thread.
#pragma once

void registerCapabilityFunctions();
