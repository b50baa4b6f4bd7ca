// What the program is started with: options, the environment, and configuration files. Main thread,
// before any other thread and process is started.
#pragma once

#include <vector>

// Carries out the options among the arguments and returns the others, which are the chrome's, with
// the program's name and a null at the end. "--" ends the options. The texts are the caller's.
//
// Each option has a variable of the environment, which its readers look at, and which child
// processes and viewers have as well: an option sets it; else it is as it was; else a key of that
// name in the user's configuration file sets it, and else one in the system's. Ends the process
// with status 2 and a line on standard error for what is unknown or has no sense.
std::vector<char*> takeOptions(int argc, char** argv);

// Whether a switch is on, by the variable that takeOptions has left it in.
bool isSwitchedOn(const char* variable);

// Variables of options that start-up reads.
inline constexpr const char* kioskVariable = "PAGEHOST_KIOSK";
inline constexpr const char* fullscreenVariable = "PAGEHOST_FULLSCREEN";
inline constexpr const char* profileVariable = "PAGEHOST_PROFILE";
inline constexpr const char* zoomVariable = "PAGEHOST_ZOOM";
inline constexpr const char* watchdogVariable = "PAGEHOST_WATCHDOG";
inline constexpr const char* hidePointerVariable = "PAGEHOST_HIDE_POINTER";
