// Where the files are that come with the program, in a build tree and installed, and where the
// chrome is. Main thread.
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

inline constexpr const char* bundledChrome = "local:///chrome/index.html";

// The address that the chrome is loaded from: CHROME_URL, or the bundled one.
std::string chromeAddress();

// The same, or, since all folders that --chrome or --dev name are loaded from one address, the
// folder's as a file: what tells chromes apart.
std::string chromeIdentity();
