// One program for each profile: a second start hands its addresses to the first. Main thread, at
// start-up.
//
// Which program has a profile is a record lock of the kernel on a file in the run-time folder: it
// ends with its process, however that ends, and names it. Forked processes do not inherit it.
#pragma once

#include <vector>

// Becomes the program of its profile; or, where there is one, hands the addresses among the
// arguments to it and exits with 0, or with 1 and a line on standard error if it does not take
// them. Does nothing with --new, in viewers and in launched applications. After takeOptions.
void claimProfile(const std::vector<char*>& arguments);

// Whether this is the program that the desktop means by the application: of the bundled chrome,
// without a profile of its own.
bool isDesktopsInstance();
