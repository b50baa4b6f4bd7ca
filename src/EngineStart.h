// What every process with web views needs from its surroundings before it can show one. Main
// thread.
#pragma once

#include "platform/base/String.h"

#include <string>

// A start that cannot go on: says what to do about it, where a person and where a log looks.
[[noreturn]] void giveUp(const std::string& problem);

// What to say where no window can be opened.
extern const char* const noDisplay;

// Without a session bus the toolkit starts one for each display, which outlives the program and
// keeps its descriptors open. Before the toolkit starts.
void disableSessionBusAutolaunch();

// Tells the engine where its inspector is to listen, in this process alone. Before the toolkit
// starts.
void prepareInspector();

// The folder that local: addresses are files of.
std::string localRoot();

// Starts the engine, in the sandbox that PAGEHOST_SANDBOX asks for, with what pages leave behind in
// the folder of that name, which each application has for itself: it is the address of its chrome
// that tells one from another. Whether cookies are kept there, see WebKitEngine::Places. The
// toolkit must be running. Gives up when it cannot be.
void startEngine(const Tessel::Platform::String& dataName, bool keepsCookies);
