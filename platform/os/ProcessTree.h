// The processes of a program and the memory that they take, from /proc. Any thread.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Tessel::Platform {

struct ProcessUse {
  pid_t pid = 0;
  pid_t parent = 0;
  std::string name;       // the base name of its first argument, or else the kernel's name
  std::uint64_t rss = 0;  // bytes in memory, shared ones included
  // Bytes in memory, of shared ones its share. None where the kernel does not let this user read
  // them, as of a process that has given up that it can be traced.
  std::optional<std::uint64_t> pss;
};

// Bytes in memory, and how many of them are of files or shared with others; 0 for a process that is
// not there.
struct Residence {
  std::uint64_t resident = 0;
  std::uint64_t shared = 0;
};
Residence residenceOf(pid_t pid);

// The process and all that descend from it, parents first.
std::vector<pid_t> processesBelow(pid_t root);

// The same, with their memory. Takes a millisecond or more for each:
// the kernel walks through its mappings.
std::vector<ProcessUse> processTree(pid_t root);

}  // namespace Tessel::Platform
