// Texts and the texts of numbers.
#include "platform/String.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

namespace Tessel::Platform {
namespace {

using namespace std::string_view_literals;

TEST(StringTest, NumberTextIsThatOfPrintf) {
  for (const char* text : {"0", "-0", "-1.5", "0.333333333333333333", "123456", "1234567",
                           "999999.5", "0.0001", "0.00001", "1e100", "2.5e-7",
                           "1.7976931348623157e308", "5e-324", "inf", "-inf", "nan", "-nan"}) {
    const double value = std::strtod(text, nullptr);
    char expected[64];
    std::snprintf(expected, sizeof expected, "%g", value);
    EXPECT_EQ(formatNumberText(value), expected);
    EXPECT_EQ(String::fromNumber(value).view(), expected);
  }
}

TEST(StringTest, NumberTextsAreReadAsFarAsAFloatReaches) {
  const auto parsed = [](const char* text) {
    bool succeeded = false;
    const float value = parseFloatArgument(text, &succeeded);
    return std::pair(value, succeeded);
  };
  EXPECT_EQ(parsed("0.5"), std::pair(0.5F, true));
  EXPECT_EQ(parsed("1e+30"), std::pair(1e30F, true));
  EXPECT_EQ(parsed("-2e-3 and more"), std::pair(-2e-3F, true));
  EXPECT_EQ(parsed("none"), std::pair(0.0F, true));
  for (const char* text : {"3.5e38", "-3.5e38", "1e309", "1e-400", "inf", "nan"}) {
    EXPECT_EQ(parsed(text), std::pair(0.0F, false)) << text;
  }
  errno = ERANGE;
  EXPECT_EQ(parseFloatArgument("2"), 2.0F);
}

TEST(StringTest, ZeroBytesAreText) {
  const String text("ab\0cd"sv);
  EXPECT_EQ(text.length(), 5u);
  EXPECT_STREQ(text.utf8(), "ab");
  EXPECT_EQ(text.utf8()[5], '\0');
  EXPECT_NE(text, String("ab"));
  EXPECT_LT(String("ab"), text);
  EXPECT_LT(text, String("ab\0ce"sv));
  EXPECT_EQ(text.toStdString(), "ab\0cd"sv);
}

}  // namespace
}  // namespace Tessel::Platform
