// The options of pagehost-launch. Main thread.
#pragma once

#include <sys/types.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

struct LaunchOptions {
  uid_t uid = 0;
  gid_t gid = 0;
  std::vector<gid_t> groups;
  std::map<std::string, std::string> environment;
  std::optional<std::string> directory;
  int priority = 0;
  bool wait = false;
  std::vector<std::string> arguments;  // the first is the program's name
};

// Reads the command line; defaults come from the user's record and the environment. False, with an
// error text, if the options are inconsistent. Exits for --help and the like, and for unknown
// options.
bool readOptions(int argc, char** argv, LaunchOptions& options, std::string& problem);

// The serialised request; empty, with an error text, if it exceeds the maximum size.
std::vector<char> requestOf(const LaunchOptions& options, std::string& problem);
