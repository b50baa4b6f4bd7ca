// What every native function with a handler of its own says to wrong counts of arguments, against
// what the reference says that it takes. Lists of any length are left to their own tests.
#include "ApplicationWindow.h"
#include "bindings/ApplicationBinding.h"
#include "bindings/CclBinding.h"
#include "bindings/InvocationBinding.h"
#include "bindings/PPSBinding.h"
#include "bindings/RememberedBinding.h"
#include "bindings/WindowAnimations.h"
#include "tests/support/ChromeFixture.h"

#include <algorithm>
#include <set>

namespace {

struct Row {
  std::string name;
  std::string signature;
  std::size_t optional;

  std::size_t arguments() const {
    const bool none = signature.ends_with("()");
    return none ? 0
                : static_cast<std::size_t>(std::count(signature.begin(), signature.end(), ',')) + 1;
  }
};

const std::vector<Row> rows{
#define FUNCTION(name, group, signature, ...) \
  {name, #signature, std::vector<const char*>{__VA_ARGS__}.size()},
#define DOC(...)
#include "bindings/NativeFunctions.def"
#undef DOC
#undef FUNCTION
};

class ArgumentCountsTest : public test_support::ChromeFixture {
 protected:
  // Whether the function counts; what it says then has to be right.
  bool isCounted(const Row& row, std::size_t count) {
    std::vector<const char*> call(count, "1");
    call[0] = row.name.c_str();
    const std::string result = callNative(call);
    const std::vector<std::string> said = errors();
    if (said.empty()) return false;
    EXPECT_EQ(result, "");
    // The handler's own name, which has the function's at its end.
    const std::size_t start = said[0].find('"') + 1;
    const std::string name = said[0].substr(start, said[0].find('"', start) - start);
    const std::string last = row.name.substr(row.name.find('.') + 1);
    const auto sameLetter = [](char a, char b) { return std::tolower(a) == std::tolower(b); };
    EXPECT_TRUE(name.starts_with("js") && name.size() >= last.size() &&
                std::equal(last.rbegin(), last.rend(), name.rbegin(), sameLetter))
        << name;
    const auto most = row.arguments() + 1;
    const auto required = most - row.optional;
    std::string expected =
        countError(name.c_str(), static_cast<int>(count), static_cast<int>(required));
    if (row.optional > 0) expected += " (" + std::to_string(most) + " with optional args)";
    EXPECT_THAT(said, ::testing::ElementsAre(expected));
    return true;
  }
};

TEST_F(ArgumentCountsTest, AreThoseOfTheReference) {
  test_support::inOwnProcess([this] {
    const ApplicationBinding application(root, [](int) {});
    const InvocationBinding invocation(root);
    ApplicationWindow::instance();
    CclBinding::instance();
    PPSBinding::instance();
    WindowAnimations::instance();
    registerRememberedFunctions();
    std::set<std::string> counted;
    for (const Row& row : rows) {
      if (row.signature.find("Numbers") != std::string::npos) continue;
      SCOPED_TRACE(row.name);
      const std::size_t arguments = row.arguments();
      const bool countsMore = isCounted(row, arguments + 2);
      const std::size_t fewer = arguments - row.optional;
      EXPECT_TRUE(fewer == 0 || isCounted(row, fewer));
      if (arguments > 0) {
        EXPECT_TRUE(countsMore);
      } else if (countsMore) {
        counted.insert(row.name);
      }
    }
    EXPECT_EQ(counted, (std::set<std::string>{
                           "application.minimizeWindow", "application.setSwipeStart",
                           "application.unlockRotation", "applicationWindow.flushContext"}))
        << "nobody counts for the others that take nothing";
  });
}

}  // namespace
