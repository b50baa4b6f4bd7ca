// The memory of processes.
#include "bench/Memory.h"

#include "tests/support/Processes.h"

#include <chrono>
#include <fstream>
#include <string>
#include <thread>

namespace bench {

double memoryOf(const std::vector<pid_t>& pids) {
  long kilobytes = 0;
  for (const pid_t pid : pids) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/smaps_rollup");
    for (std::string word; file >> word;) {
      long count = 0;
      if (word == "Pss:" && file >> count) kilobytes += count;
    }
  }
  return static_cast<double>(kilobytes) / 1024;
}

std::vector<pid_t> treeOf(pid_t pid) {
  std::vector<pid_t> tree = test_support::descendantsOf(pid);
  tree.push_back(pid);
  return tree;
}

void settle() {
  std::this_thread::sleep_for(std::chrono::seconds(2));
}

}  // namespace bench
