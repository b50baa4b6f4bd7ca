// What the engine's sandbox leaves in the user's run-time folder. Any thread.
//
// The engine makes a folder .flatpak/webkit-PID-N there for each web process that it starts, and
// never removes it; the socket of a bus proxy that is killed stays in webkitgtk/. The run-time
// folder is memory, and a program that has web views come and go would fill it.
#pragma once

#include <sys/types.h>

namespace Tessel::Platform {

// Removes what belongs to processes that have ended, of this program and of others of this user.
void removeSandboxLeftovers();

// What this process has of it goes with its clean end.
void removeSandboxFilesAtExit();

// What a process that has ended has left of it.
void removeSandboxFilesOf(pid_t process);

}  // namespace Tessel::Platform
