// The options of the command line. Main thread, before any other thread and process is started.
#pragma once

#include <vector>

// Carries out the options among the arguments and returns the others, which are the chrome's, with
// the program's name and a null at the end. "--" ends the options. The texts are the caller's.
std::vector<char*> takeOptions(int argc, char** argv);
