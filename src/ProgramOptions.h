// The program's options: command line, environment and configuration files. Main thread, before any
// other thread or process is started.
#pragma once

#include "engine/webkit/base/AutomationMode.h"

#include <string>
#include <vector>

// Processes the options among the arguments and returns the remaining arguments, which are for the
// chrome, preceded by the program's name and followed by a null. "--" ends the options. The texts
// are owned by the caller.
//
// Each option has an environment variable, which the code reads and child processes inherit. Its
// value is, in order of precedence: the option, the existing variable, the key in the user's
// configuration file, the key in the system's. Exits with status 2 and a line on standard error if
// an option is unknown or a value invalid.
std::vector<char*> takeOptions(int argc, char** argv);

// What "pagehost new DIR --template NAME" has asked for; the folder is empty if it has not.
struct WantedChrome {
  std::string folder;
  std::string templateName;
};
// After takeOptions.
const WantedChrome& wantedChrome();

// From now on unknown options are words: the arguments of a launched application are its page's.
void leaveUnknownOptions();

// Whether that was called: this is an application of the launcher server.
bool isLaunchedApplication();

// Whether a switch is on, according to its variable after takeOptions.
bool isSwitchedOn(const char* variable);

// The number of mebibytes in a variable, after takeOptions; 0 for none.
unsigned int memoryLimit(const char* variable);

// What WebDriver clients may drive, and at which loopback address, HOST:PORT, the engine listens
// for them: by the option alone, since no process that is started from here shall be driven as
// well.
struct AutomationOrder {
  AutomationMode mode = AutomationMode::Off;
  std::string address;
};
// As takeOptions has found it, which has taken the address out of the environment.
const AutomationOrder& automationOrder();
// The variable with the address, which the engine reads.
inline constexpr const char* automationAddressVariable = "WEBKIT_INSPECTOR_SERVER";

// Variables that start-up code reads.
inline constexpr const char* devVariable = "PAGEHOST_DEV";
inline constexpr const char* chromeFolderVariable = "PAGEHOST_CHROME_FOLDER";
inline constexpr const char* kioskVariable = "PAGEHOST_KIOSK";
inline constexpr const char* fullscreenVariable = "PAGEHOST_FULLSCREEN";
inline constexpr const char* profileVariable = "PAGEHOST_PROFILE";
inline constexpr const char* zoomVariable = "PAGEHOST_ZOOM";
inline constexpr const char* watchdogVariable = "PAGEHOST_WATCHDOG";
inline constexpr const char* memoryVariable = "PAGEHOST_MEMORY_LIMIT";
inline constexpr const char* webProcessMemoryVariable = "PAGEHOST_WEB_PROCESS_MEMORY_LIMIT";
inline constexpr const char* allowEvalVariable = "PAGEHOST_ALLOW_EVAL";
inline constexpr const char* newVariable = "PAGEHOST_NEW";
inline constexpr const char* hidePointerVariable = "PAGEHOST_HIDE_POINTER";
