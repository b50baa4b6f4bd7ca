// Ends that the toolkit would otherwise keep to itself: of the display, and of its own dialogs when
// the program is to end. Main thread, after the toolkit has started.
#pragma once

namespace Tessel::Platform::Graphics {

// From now on a display that goes away ends the process with status 1 and two lines in the log.
void tellOfLostDisplay();

// Closes every dialog of the toolkit as its close button does, so that whoever runs a loop of his
// own for one goes on.
void dismissDialogs();

}  // namespace Tessel::Platform::Graphics
