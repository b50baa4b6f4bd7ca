// Where the files are that come with the program, in a build tree and installed. Main thread.
#pragma once

#include "engine/webkit/network/LocalScheme.h"

#include <string>

// The folder of the page module.
std::string moduleFolder();

// The folder of the program's own data, whatever variables say: chrome/, templates/, docs/.
std::string bundledFolder();

// What local: addresses are files of: TESSEL_LOCAL_ROOT or the above, and the folder of the chrome
// that --chrome or --dev have named.
LocalRoots localRoots();
