// The processes of a program and the memory that they take.
#include "platform/os/ProcessTree.h"

#include "platform/os/Process.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string_view>

namespace Tessel::Platform {

namespace {

std::string fileOf(pid_t pid, const char* name) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/" + name);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

std::string nameOf(pid_t pid) {
  const std::string arguments = fileOf(pid, "cmdline");
  const std::string first = arguments.substr(0, arguments.find('\0'));
  if (!first.empty()) return first.substr(first.rfind('/') + 1);
  const std::string kernels = fileOf(pid, "comm");
  return kernels.substr(0, kernels.find('\n'));
}

std::optional<std::uint64_t> proportionalBytes(pid_t pid) {
  const std::string text = fileOf(pid, "smaps_rollup");
  constexpr std::string_view key = "\nPss:";
  const std::size_t place = text.find(key);
  if (place == std::string::npos) return std::nullopt;
  return std::strtoull(text.c_str() + place + key.size(), nullptr, 10) * 1024;
}

struct Relation {
  pid_t pid;
  pid_t parent;
};

std::vector<Relation> relationsBelow(pid_t root) {
  std::multimap<pid_t, pid_t> children;
  std::error_code unreadable;
  for (const auto& entry : std::filesystem::directory_iterator("/proc", unreadable)) {
    const pid_t pid = std::atoi(entry.path().filename().c_str());
    if (pid > 0) children.emplace(parentOf(pid), pid);
  }
  std::vector<Relation> found{{root, parentOf(root)}};
  for (std::size_t i = 0; i < found.size(); ++i) {
    const auto [first, last] = children.equal_range(found[i].pid);
    for (auto each = first; each != last; ++each) found.push_back({each->second, each->first});
  }
  return found;
}

}  // namespace

Residence residenceOf(pid_t pid) {
  // "SIZE RESIDENT SHARED ..." in pages.
  static const auto page = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
  Residence residence;
  std::uint64_t size = 0;
  std::ifstream file("/proc/" + std::to_string(pid) + "/statm");
  if (!(file >> size >> residence.resident >> residence.shared)) return {};
  residence.resident *= page;
  residence.shared *= page;
  return residence;
}

std::vector<pid_t> processesBelow(pid_t root) {
  std::vector<pid_t> found;
  for (const Relation& each : relationsBelow(root)) found.push_back(each.pid);
  return found;
}

std::vector<ProcessUse> processTree(pid_t root) {
  std::vector<ProcessUse> found;
  for (const auto& [pid, parent] : relationsBelow(root)) {
    found.push_back({pid, parent, {}, 0, std::nullopt});
  }
  for (ProcessUse& each : found) {
    each.name = nameOf(each.pid);
    each.rss = residenceOf(each.pid).resident;
    each.pss = proportionalBytes(each.pid);
  }
  // Those that have ended meanwhile have no memory, and neither have zombies.
  std::erase_if(found, [](const ProcessUse& each) { return each.rss == 0; });
  return found;
}

}  // namespace Tessel::Platform
