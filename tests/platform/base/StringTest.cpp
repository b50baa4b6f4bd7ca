// Texts that are not valid UTF-8.
#include "platform/base/String.h"

#include <gtest/gtest.h>

namespace {

using Tessel::Platform::repaired;
using Tessel::Platform::String;

TEST(StringTest, OnlyTheBytesThatAreNoCharacterAreReplaced) {
  const std::string mark = "\xEF\xBF\xBD";
  const std::pair<std::string, std::string> texts[]{
      {"", ""},
      {"plain", "plain"},
      {std::string("a\0b", 3), std::string("a\0b", 3)},
      {"ä€\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF", "ä€\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF"},
      {"a\xFFz", "a" + mark + "z"},
      {"\xC3", mark},
      {"\xE2\x82", mark},                               // a character that is cut off
      {"\xE2\x82z", mark + "z"},                        // in the middle
      {"\xF0\x9F\x98\xC3\xA4", mark + "ä"},             // and before another one
      {"\xC0\xAF", mark + mark},                        // a long form
      {"\xED\xA0\x80", mark + mark + mark},             // half a surrogate pair
      {"\xF4\x90\x80\x80", mark + mark + mark + mark},  // beyond the last character
      {"\x80ä\xBF", mark + "ä" + mark},
  };
  for (const auto& [text, result] : texts) {
    EXPECT_EQ(repaired(String(text)).toStdString(), result) << text;
  }
}

}  // namespace
