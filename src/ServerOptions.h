// The options of the launcher server. Called before it forks.
#pragma once

#include "src/LauncherServer.h"

// Exits with status 2 and a line on standard error if an option is unknown or a value invalid.
LauncherConfiguration takeServerOptions(int argc, char** argv);
