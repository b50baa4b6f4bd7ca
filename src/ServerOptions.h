// What the launcher server is started with. Before it has forked anything.
#pragma once

#include "src/LauncherServer.h"

// Ends the process with status 2 and a line on standard error for what is unknown or has no sense.
LauncherConfiguration takeServerOptions(int argc, char** argv);
