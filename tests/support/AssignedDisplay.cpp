// Before anything of the toolkit starts, a test takes the display that ctest has given it: tests
// that run at the same time would click into each other's windows otherwise. Without an assignment,
// which only
// ./test makes, it is the display of the environment. Main thread.
#include <cstdlib>
#include <string>

namespace {

// "id:NUMBER,slots:1", as ctest says it.
const bool assigned = [] {
  const char* given = std::getenv("CTEST_RESOURCE_GROUP_0_DISPLAYS");
  if (!given) return false;
  const std::string text(given);
  const auto begin = text.find("id:") + 3;
  const std::string display = ":" + text.substr(begin, text.find(',') - begin);
  return ::setenv("DISPLAY", display.c_str(), 1) == 0;
}();

}  // namespace
