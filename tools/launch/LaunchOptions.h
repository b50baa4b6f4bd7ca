// What the command line of pagehost-launch asks for. Main thread.
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

// Reads the command line, and what it leaves open from the user's record and from the environment.
// False, with the problem in words, when it makes no sense. Ends the process for what every program
// ends for.
bool readOptions(int argc, char** argv, LaunchOptions& options, std::string& problem);

// The request as it is sent; empty, with the problem in words, when it is more than one takes.
std::vector<char> requestOf(const LaunchOptions& options, std::string& problem);
