// Hides the mouse pointer while it is not moved. UI thread.
#pragma once

namespace Tessel::Platform::Graphics {

// Enables hiding after that many seconds without movement in a window of the program; 0: always
// hidden. The toolkit must be initialised.
void hidePointerAfter(int seconds);

}  // namespace Tessel::Platform::Graphics
