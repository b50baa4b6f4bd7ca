// The options of the command line. Main thread.
#include "src/ProgramOptions.h"

#include "platform/os/PageSandbox.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
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
  const auto found = std::find_if(std::begin(options), std::end(options), [&](const auto& each) {
    return std::string_view(argument).starts_with(each.option);
  });
  if (found == std::end(options)) return false;
  ::setenv(found->variable, argument + found->option.size(), 1);
  return true;
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
