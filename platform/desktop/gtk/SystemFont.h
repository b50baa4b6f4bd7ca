// The font that the desktop wishes for its programs, and how many pixels a point of it has. Main
// thread.
#pragma once

namespace Tessel::Platform {

// Keeps FontInfo and the primary screen up to date from now on. Needs a started toolkit.
void followSystemFont();

}  // namespace Tessel::Platform
