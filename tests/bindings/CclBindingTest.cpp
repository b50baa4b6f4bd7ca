// The analytics functions as the chrome calls them.
#include "bindings/CclBinding.h"
#include "registry/BindingManager.h"
#include "tests/support/ChromeFixture.h"
#include "tests/support/TemporaryFolder.h"

#include <cstdlib>

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class CclBindingTest : public test_support::ChromeFixture {
 protected:
  CclBindingTest() { ::setenv("TESSEL_CCL_FILE", file().c_str(), 1); }
  ~CclBindingTest() override {
    callNative({"ccl.shutdown"});
    ::unsetenv("TESSEL_CCL_FILE");
  }

  std::string file() const { return folder_.path() / "events"; }
  std::string lastLine() const {
    const std::string lines = folder_.read("events");
    return lines.substr(lines.rfind('\n', lines.size() - 2) + 1);
  }

  test_support::TemporaryFolder folder_;
  CclBinding& binding = CclBinding::instance();
};

TEST_F(CclBindingTest, KeysHaveFlagsAndGoWithTheClient) {
  const std::string noKeys = "eventKeysCreate() should be called before eventKeysAdd()";
  callNative({"ccl.init", "shop", "1"});
  EXPECT_EQ(callNative({"ccl.eventKeysAdd", "a", "1"}), "-3");
  EXPECT_THAT(errors(), ElementsAre(noKeys));
  EXPECT_EQ(callNative({"ccl.eventKeysCreate"}), "");
  callNative({"ccl.eventKeysAdd", "gone", "1"});
  EXPECT_EQ(callNative({"ccl.eventKeysCreate"}), "");
  for (const auto& call : std::vector<std::vector<const char*>>{{"a", "1"},
                                                                {"b", "2", "false", "true"},
                                                                {"c", "3", "true", "false"},
                                                                {"d", "4", "yes"},
                                                                {"e", "5", "", "no"},
                                                                {"f", "6", "false", "false"}}) {
    std::vector<const char*> whole{"ccl.eventKeysAdd"};
    whole.insert(whole.end(), call.begin(), call.end());
    EXPECT_EQ(callNative(whole), "0");
  }
  EXPECT_EQ(callNative({"ccl.onSearchEvent", "shoes"}), "0");
  EXPECT_THAT(lastLine(), HasSubstr(R"("event":"search","text":"shoes")"));
  EXPECT_EQ(callNative({"ccl.onCustomEvent", "mine"}), "0");
  EXPECT_THAT(lastLine(), HasSubstr(R"("application":"shop","version":"1",)"));
  EXPECT_THAT(lastLine(), HasSubstr(R"("custom":"mine",)"));
  EXPECT_THAT(lastLine(), HasSubstr(R"("keys":[{"key":"a","value":"1","flags":3},)"
                                    R"({"key":"b","value":"2","flags":0},)"
                                    R"({"key":"c","value":"3","flags":1},)"
                                    R"({"key":"d","value":"4","flags":3},)"
                                    R"({"key":"e","value":"5","flags":3},)"
                                    R"({"key":"f","value":"6","flags":0}])"));
  EXPECT_EQ(callNative({"ccl.setCCLEnabled", "yes"}), "-2");
  EXPECT_EQ(callNative({"ccl.setCCLEnabled", "false"}), "0");
  EXPECT_EQ(callNative({"ccl.isCCLEnabled"}), "0");
  EXPECT_EQ(callNative({"ccl.onButtonClick"}), "-4");
  EXPECT_EQ(callNative({"ccl.setCCLEnabled", "true"}), "0");
  EXPECT_EQ(callNative({"ccl.shutdown"}), "0");
  EXPECT_EQ(callNative({"ccl.shutdown"}), "-1");
  EXPECT_EQ(callNative({"ccl.eventKeysAdd", "a", "1"}), "-3");
  EXPECT_THAT(errors(), ElementsAre(noKeys));
  EXPECT_EQ(callNative({"ccl.eventKeysDelete"}), "");
  EXPECT_EQ(callNative({"ccl.eventKeysPrint"}), "");
}

}  // namespace
