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

}  // namespace
