// Hides the mouse pointer over this program's display while nobody moves it. UI thread.
#pragma once

namespace Tessel::Platform::Graphics {

// From now on. After that many seconds without a movement in a window of the program; 0: always.
// The toolkit must be running.
void hidePointerAfter(int seconds);

}  // namespace Tessel::Platform::Graphics
