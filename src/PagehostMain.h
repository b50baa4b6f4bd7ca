// The application process. Main thread.
#pragma once

// What every application needs and its forks inherit, since it takes time: the tables of native
// functions and the system's fonts. Once; the launcher server does it for all that it launches.
void prepareApplications();

// Shows the chrome and runs until its last web view is gone; ends the process.
[[noreturn]] void pagehost_main(int argc, char** argv);
