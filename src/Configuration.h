// The configuration files: key files with one group, [pagehost]. Main thread.
#pragma once

#include <map>
#include <string>

struct ConfiguredValue {
  std::string text;
  std::string place;  // file and line, for error messages
};

using Configuration = std::map<std::string, ConfiguredValue>;

// Adds the keys of the file, replacing existing ones. A missing file is an error only with
// mustExist. False, with file, line and error in `problem`, if it cannot be read or is malformed.
bool readConfiguration(const std::string& path, bool mustExist, Configuration& configuration,
                       std::string& problem);
