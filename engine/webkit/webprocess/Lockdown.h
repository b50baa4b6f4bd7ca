// Rights that a web process gives up before its first document, beside what the engine's sandbox
// takes. Web process, main thread only.
#pragma once

#include <string>

// Takes the capabilities of every thread away, which the sandbox leaves to root, and denies system
// calls that no page needs. With files, where the engine's sandbox does not work: keeps the process
// to the files of the system, the user's fonts and caches of drawings, and away from other
// processes; its sockets stay. `moduleFolder` stays readable. "" or what could not be done.
std::string lockDown(bool files, const std::string& moduleFolder);
