// Which keys are the chrome's: their names, and what of the modifiers counts.
#include "platform/graphics/ReservedKeys.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using Tessel::Platform::Graphics::ReservedKeys;
using ::testing::ElementsAre;

constexpr unsigned int tab = 0xFF09;
constexpr unsigned int shiftedTab = 0xFE20;
constexpr unsigned int f6 = 0xFFC3;

TEST(ReservedKeysTest, AKeyIsTakenWithExactlyItsModifiers) {
  ReservedKeys keys;
  std::vector<std::string> told;
  keys.setListener([&](const std::string& name) { told.push_back(name); });
  ASSERT_TRUE(keys.reserve({"Ctrl+t", "Ctrl+Shift+Tab", "F6", "Ctrl++"}));
  EXPECT_TRUE(keys.press({'T', true}));
  EXPECT_FALSE(keys.press({'t', true, false, true})) << "shift makes another key of a letter";
  EXPECT_FALSE(keys.press({'t', true, true})) << "as alt does: it types letters on some keyboards";
  EXPECT_FALSE(keys.press({tab, true}));
  EXPECT_TRUE(keys.press({shiftedTab, true, false, true}));
  EXPECT_TRUE(keys.press({f6}));
  EXPECT_TRUE(keys.press({'+', true, false, true})) << "where a sign stands is the keyboard's";
  EXPECT_TRUE(keys.press({f6}, true)) << "held down, it is no second wish";
  EXPECT_THAT(told, ElementsAre("Ctrl+t", "Ctrl+Shift+Tab", "F6", "Ctrl++"));
}

TEST(ReservedKeysTest, AWrongNameChangesNothing) {
  ReservedKeys keys;
  ASSERT_TRUE(keys.reserve({"F6"}));
  for (const char* wrong : {"", "Ctrl+", "Ctrl+Ctrl+t", "F0", "F36", "tab", "Hyper+t", "tt", "é"}) {
    EXPECT_FALSE(keys.reserve({"F5", wrong})) << wrong;
  }
  EXPECT_FALSE(keys.reserve(std::vector<std::string_view>(257, "F5")));
  EXPECT_TRUE(keys.press({f6}));
  EXPECT_TRUE(keys.reserve({}));
  EXPECT_FALSE(keys.press({f6}));
}

}  // namespace
