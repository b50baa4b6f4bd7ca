// The options of the command line. Main thread.
#include "ProgramOptions.h"

#include "platform/os/PageSandbox.h"

#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

// An option sets a variable of the environment: child processes and viewers have it as well.
struct {
  std::string_view option;
  const char* variable;
} constexpr options[] = {
    {"--sandbox=", Tessel::Platform::sandboxVariable},
};

bool take(const char* argument) {
  for (const auto& [option, variable] : options) {
    if (std::strncmp(argument, option.data(), option.size()) != 0) continue;
    ::setenv(variable, argument + option.size(), 1);
    return true;
  }
  return false;
}

}  // namespace

std::vector<char*> takeOptions(int argc, char** argv) {
  std::vector<char*> others;
  bool isOver = false;
  for (int i = 0; i < argc; ++i) {
    const bool isEnd = i > 0 && !isOver && std::strcmp(argv[i], "--") == 0;
    if (isEnd) isOver = true;
    if (isEnd || (i > 0 && !isOver && take(argv[i]))) continue;
    others.push_back(argv[i]);
  }
  others.push_back(nullptr);
  return others;
}
