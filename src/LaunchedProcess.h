// From a forked child of the launcher server to an application: identity, arguments, environment,
// standard streams. One thread.
#pragma once

#include <cstddef>

// Does not return.
using ApplicationMain = void (*)(int argc, char** argv);

// Takes on what the request asks for, all the rest of the server being gone from the process, and
// runs the application. The request has at least its header and stays for the life of the process.
// Exits with 1 or 255 when something of it cannot be. `restricted` when the server has abilities
// that the application must not have.
[[noreturn]] void runLaunchedProcess(char* request, std::size_t size, bool restricted,
                                     ApplicationMain application);
