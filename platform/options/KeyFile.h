// Configuration files: key files with one group. Main thread.
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace Tessel::Platform {

struct ConfiguredValue {
  std::string text;
  std::string place;  // file and line, for error messages
};

using Configuration = std::map<std::string, ConfiguredValue>;

// Adds the keys of the file's only group, replacing existing ones. A missing file is an error only
// with mustExist. False, with file, line and error in `problem`, if it cannot be read or is
// malformed.
bool readConfiguration(const std::string& path, const char* groupName, bool mustExist,
                       Configuration& configuration, std::string& problem);

// Reads that file, or, if it is empty, /etc/pagehost/NAME and then ~/.config/pagehost/NAME, whose
// keys take precedence, unless the user's is left out.
bool readConfigurations(const std::string& file, const char* name, const char* groupName,
                        bool readsUsers, Configuration& configuration, std::string& problem);

// true, yes, on and 1, and their opposites.
bool isSwitchText(std::string_view text);
bool isSwitchedOnText(std::string_view text);

}  // namespace Tessel::Platform
