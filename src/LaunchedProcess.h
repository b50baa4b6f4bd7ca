// Turns a forked child of the launcher server into an application: identity, arguments,
// environment, standard streams. One thread.
#pragma once

#include <cstddef>

// Does not return.
using ApplicationMain = void (*)(int argc, char** argv);

// Applies the request, after everything of the server has been closed, and runs the application.
// The request has at least its header and must live as long as the process. Exits with 1 or 255 if
// a part of it cannot be applied. `restricted` if the server has abilities that the application
// must not have.
[[noreturn]] void runLaunchedProcess(char* request, std::size_t size, bool restricted,
                                     ApplicationMain application);
