// Environment set-up for processes with web views, before the first one is created. Main thread.
#pragma once

#include "platform/base/String.h"

#include <string>

// Exits because the start cannot continue, with instructions on standard error and in the log.
[[noreturn]] void giveUp(const std::string& problem);

// Instructions if no window can be opened.
extern const char* const noDisplay;

// Prevents the toolkit from starting a session bus per display, which would outlive the program and
// keep its descriptors open. Call it before the toolkit starts.
void disableSessionBusAutolaunch();

// Sets the address of the engine's inspector server, for this process only. Before the toolkit
// starts.
void prepareInspector();

// Starts the engine, with the sandbox that PAGEHOST_SANDBOX selects. Site data go into the folder
// of that name, separate for each application, which is identified by the address of its chrome.
// For whether cookies are kept there, see WebKitEngine::Places. The toolkit must be running. Exits
// on failure.
void startEngine(const Tessel::Platform::String& dataName, bool keepsCookies);
