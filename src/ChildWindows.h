// Shows the windows of child processes in the application window. UI thread.
#pragma once

#include "platform/graphics/Window.h"

// From now on; the window must outlive every child.
void showWindowsOfChildren(Tessel::Platform::Graphics::Window& applicationWindow);
