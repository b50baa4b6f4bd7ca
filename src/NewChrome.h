// "pagehost new DIR": writes a chrome of one's own from a template. Main thread, before anything
// else has started.
#pragma once

#include "src/ProgramOptions.h"

// Ends the program: with 0 when the folder is there, with 1 and a line on standard error when it
// could not be written, and with 2 when it or the template is none. An existing folder must be
// empty. Nothing is left behind that is not whole.
[[noreturn]] void makeNewChrome(const WantedChrome& wanted);
