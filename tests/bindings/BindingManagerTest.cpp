// The registry of native functions and the errors that handlers report.
#include "bindings/BindingManager.h"
#include "tests/support/ChromeFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class BindingManagerTest : public test_support::ChromeFixture {
 protected:
  BindingManager& bindings = BindingManager::instance();
};

TEST_F(BindingManagerTest, CallRunsTheHandlerThatWasFirstRegisteredUnderItsExactName) {
  bindings.registerBinding("test.first", [](OrvWebJavaScriptCallbackEvent* event) {
    event->setResult(String::fromUnsignedInteger(event->numArgs()));
  });
  bindings.registerBinding(
      "test.first", [](OrvWebJavaScriptCallbackEvent* event) { event->setResult("second"); });
  EXPECT_EQ(callNative({"test.first", "a", nullptr}), "3");
  EXPECT_THAT(errors(), IsEmpty());

  for (const char* name : {"test.First", "test.firs", "test.first2", ""}) {
    EXPECT_EQ(callNative({name, "a"}), "");
    EXPECT_THAT(errors(), ElementsAre("Binding for native function: \"" + std::string(name) +
                                      "\" does not exist."));
  }
  EXPECT_EQ(callNative({}), "");
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(BindingManagerTest, CountsFromRequiredToTheLargerOfRequiredAndMaximumAreAccepted) {
  EXPECT_FALSE(BindingManager::checkArgumentCount(2, 2, "f"));
  EXPECT_FALSE(BindingManager::checkArgumentCount(2, 2, "f", 3));
  EXPECT_FALSE(BindingManager::checkArgumentCount(3, 2, "f", 3));
  EXPECT_THAT(errors(), IsEmpty());
  EXPECT_TRUE(BindingManager::checkArgumentCount(3, 2, "f"));
  EXPECT_TRUE(BindingManager::checkArgumentCount(-1, 0, "f", 0));
  EXPECT_TRUE(BindingManager::checkArgumentCount(1, 2, "f", 1)) << "a maximum below required";
  EXPECT_TRUE(BindingManager::checkArgumentCount(4, 2, "f", 3));
  const std::string function = "Native function: \"f\" was called with: ";
  EXPECT_THAT(errors(), ElementsAre(function + "3 arguments when it requires: 2",
                                    function + "-1 arguments when it requires: 0",
                                    function + "1 arguments when it requires: 2",
                                    function + "4 arguments when it requires: 2 "
                                               "(3 with optional args)"));
}

}  // namespace
