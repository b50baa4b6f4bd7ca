// Handles events that the toolkit does not report: loss of the display connection; and closes its
// own dialogs on exit. Main thread, after the toolkit has started.
#pragma once

namespace Tessel::Platform::Graphics {

// From now on, losing the display connection ends the process with status 1 and two log lines.
void tellOfLostDisplay();

// Closes every GTK dialog as its close button does, so that nested loops that run for one return.
void dismissDialogs();

}  // namespace Tessel::Platform::Graphics
