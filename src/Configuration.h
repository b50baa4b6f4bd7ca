// The configuration files: key files with one group, [pagehost]. Main thread.
#pragma once

#include <map>
#include <string>

struct ConfiguredValue {
  std::string text;
  std::string place;  // the file and the line, for who has to correct it
};

using Configuration = std::map<std::string, ConfiguredValue>;

// Adds what the file says; what is there already is replaced. A file that is not there says nothing
// unless it must be there. False, with the file, the line and what is wrong in `problem`, when it
// cannot be read or is no key file.
bool readConfiguration(const std::string& path, bool mustExist, Configuration& configuration,
                       std::string& problem);
