// The processes of this machine. Any thread.
#include "tests/support/Processes.h"

#include "tests/support/FileContent.h"

#include <cstdlib>
#include <filesystem>
#include <sstream>

namespace test_support {

namespace {

std::string fileOf(pid_t pid, const char* name) {
  return contentOf("/proc/" + std::to_string(pid) + "/" + name);
}

// The state from /proc; X if there is no such process.
char stateOf(pid_t pid) {
  const std::string text = fileOf(pid, "stat");
  // The name, in brackets, may contain any characters.
  const auto end = text.rfind(')');
  return end != std::string::npos && end + 2 < text.size() ? text[end + 2] : 'X';
}

// Of all its threads. Must be fast, since some tests poll it in every iteration of a main loop.
template <typename Condition>
std::vector<pid_t> childrenThat(pid_t parent, Condition hasState) {
  std::vector<pid_t> children;
  std::error_code gone;
  const std::string tasks = "/proc/" + std::to_string(parent) + "/task";
  for (const auto& task : std::filesystem::directory_iterator(tasks, gone)) {
    std::istringstream list(contentOf(task.path() / "children"));
    for (pid_t child = 0; list >> child;) {
      if (hasState(stateOf(child))) children.push_back(child);
    }
  }
  return children;
}

}  // namespace

long processorTime(pid_t pid) {
  std::istringstream times(fileOf(pid, "schedstat"));
  long long nanoseconds = 0;
  times >> nanoseconds;
  return static_cast<long>(nanoseconds / 1000000);
}

std::vector<pid_t> allProcesses() {
  std::vector<pid_t> pids;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/proc", error)) {
    if (const int pid = std::atoi(entry.path().filename().c_str()); pid > 0) pids.push_back(pid);
  }
  return pids;
}

std::string nameOf(pid_t pid) {
  const std::string command = fileOf(pid, "cmdline");
  const std::string first = command.substr(0, command.find('\0'));
  const auto slash = first.rfind('/');
  return slash == std::string::npos ? first : first.substr(slash + 1);
}

std::string environmentOf(pid_t pid) {
  return fileOf(pid, "environ");
}

bool isRunning(pid_t pid) {
  const char state = stateOf(pid);
  return state != 'X' && state != 'Z';
}

std::vector<pid_t> childrenOf(pid_t pid) {
  return childrenThat(pid, [](char state) { return state != 'Z' && state != 'X'; });
}

std::vector<pid_t> zombiesOf(pid_t parent) {
  return childrenThat(parent, [](char state) { return state == 'Z'; });
}

std::vector<pid_t> descendantsOf(pid_t pid) {
  std::vector<pid_t> found = childrenOf(pid);
  for (std::size_t i = 0; i < found.size(); ++i) {
    const auto more = childrenOf(found[i]);
    found.insert(found.end(), more.begin(), more.end());
  }
  return found;
}

std::vector<pid_t> descendantsNamed(pid_t pid, const char* name) {
  auto all = descendantsOf(pid);
  std::erase_if(all, [&](pid_t each) { return !nameOf(each).starts_with(name); });
  return all;
}

}  // namespace test_support
