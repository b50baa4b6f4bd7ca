// The analytics client: what it writes for each client, and what it rejects.
#include "platform/ccl/Ccl.h"
#include "tests/support/StandardErrorPipe.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdlib>

namespace {

using ::testing::ElementsAre;
using ::testing::MatchesRegex;

class CclTest : public testing::Test {
 protected:
  CclTest() { ::setenv("TESSEL_CCL_FILE", file().c_str(), 1); }
  ~CclTest() override {
    ccl_event_keys_delete(keys);
    ::unsetenv("TESSEL_CCL_FILE");
  }

  std::string file() const { return folder_.path() / "events"; }
  std::vector<std::string> lines() const {
    std::vector<std::string> found;
    std::ifstream stream(file());
    for (std::string line; std::getline(stream, line);) found.push_back(line);
    return found;
  }

  test_support::TemporaryFolder folder_;
  CclEventKeys* keys = ccl_event_keys_create();
};

TEST_F(CclTest, NothingIsRememberedUnlessTheUserNamesAFile) {
  ::unsetenv("TESSEL_CCL_FILE");
  CclClient* client = ccl_init("shop", "1.2");
  EXPECT_EQ(ccl_is_ccl_enabled(client), 0);
  EXPECT_EQ(ccl_set_ccl_enabled(client, 1), CclDisabled);
  ::setenv("TESSEL_CCL_FILE", file().c_str(), 1);
  EXPECT_EQ(ccl_onbutton_click(client, keys), CclDisabled);
  EXPECT_EQ(ccl_set_ccl_enabled(client, 1), CclSuccess);
  EXPECT_EQ(ccl_onsearch_event(client, nullptr, "a\t\"b\n"), CclSuccess);
  EXPECT_EQ(ccl_set_ccl_enabled(client, 0), CclSuccess);
  EXPECT_EQ(ccl_onbutton_click(client, keys), CclDisabled);
  EXPECT_THAT(lines(), ElementsAre(MatchesRegex(
                           R"(\{"time":"20[0-9-]+T[0-9:]+[.][0-9]{3}Z","application":"shop",)"
                           R"("version":"1[.]2","process":[0-9]+,"event":"search",)"
                           R"("text":"a\\t\\"b\\n"\})")));
  ccl_shutdown(client);
}

TEST_F(CclTest, WhatIsMissingOrTooLargeIsRefused) {
  const std::string name(256, 'x');
  const std::string text(4096, 'x');
  EXPECT_EQ(ccl_init("", "1"), nullptr);
  EXPECT_EQ(ccl_init(nullptr, nullptr), nullptr);
  EXPECT_EQ(ccl_init((name + "x").c_str(), "1"), nullptr);
  EXPECT_EQ(ccl_event_keys_add(keys, "", "b", 3), CclBadArgument);
  EXPECT_EQ(ccl_event_keys_add(keys, "a", "b", 4), CclBadArgument);
  EXPECT_EQ(ccl_event_keys_add(keys, name.c_str(), text.c_str(), 3), CclSuccess);
  EXPECT_EQ(ccl_event_keys_add(keys, (name + "x").c_str(), "", 3), CclTooLarge);
  EXPECT_EQ(ccl_event_keys_add(keys, "a", (text + "x").c_str(), 3), CclTooLarge);
  for (int i = 1; i < 64; ++i) {
    EXPECT_EQ(ccl_event_keys_add(keys, std::to_string(i).c_str(), text.c_str(), 3), CclSuccess);
  }
  EXPECT_EQ(ccl_event_keys_add(keys, "64", "", 3), CclTooLarge);
  EXPECT_EQ(ccl_event_keys_add(keys, "63", "", 3), CclSuccess);

  CclClient* client = ccl_init("shop", nullptr);
  EXPECT_EQ(ccl_oncustom_event(client, "", keys), CclBadArgument);
  EXPECT_EQ(ccl_oncustom_event(client, (name + "x").c_str(), keys), CclTooLarge);
  EXPECT_EQ(ccl_onadclick_event(client, keys, (text + "x").c_str()), CclTooLarge);
  EXPECT_EQ(ccl_onadclick_event(client, keys, text.c_str()), CclSuccess);
  EXPECT_EQ(lines().size(), 1u);
  ccl_shutdown(client);
}

}  // namespace
