// The font configured by the desktop, and the number of pixels per point. Main thread.
#pragma once

namespace Tessel::Platform {

// Keeps FontInfo and the primary screen up to date from now on. Needs a started toolkit.
void followSystemFont();

}  // namespace Tessel::Platform
