// Environment set-up for processes with web views, before the first one is created. Main thread.
#pragma once

#include "platform/base/String.h"
#include "src/ProgramOptions.h"

#include <string>

// Exits because the start cannot continue, with instructions on standard error and in the log.
[[noreturn]] void giveUp(const std::string& problem);

// Instructions if no window can be opened.
extern const char* const noDisplay;

// Prevents the toolkit from starting a session bus per display, which would outlive the program and
// keep its descriptors open. Call it before the toolkit starts.
void disableSessionBusAutolaunch();

// Sets the address of the engine's inspector server, for this process only, or, if WebDriver
// clients shall drive it, that of the server for them: the engine has one of both. Before the
// toolkit starts.
void prepareInspector(const AutomationOrder& automation = {});

// Has everything that the program and its children keep in data and cache folders go into a folder
// of its own, which is removed at the end. Before any of it is used.
void useEphemeralFolders();

// The application's folder below the program's: named after the profile, or after the address of
// the chrome without query and fragment. Empty for the bundled chrome, which uses the program's.
std::string applicationFolder();

// Starts the engine, with the sandbox that PAGEHOST_SANDBOX selects. Site data go into the folder
// of that name, separate for each application, which is identified by the address of its chrome.
// For whether cookies are kept there, see WebKitEngine::Places. The toolkit must be running. Exits
// on failure, also if an address for automation is taken.
void startEngine(const Tessel::Platform::String& dataName, bool keepsCookies,
                 const AutomationOrder& automation = {});
