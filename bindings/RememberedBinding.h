// The native functions "remembered.*": the chrome's look at the log-ins that are saved. UI thread.
#pragma once

// Registers them. They work on the files that the pages of all processes share.
void registerRememberedFunctions();
