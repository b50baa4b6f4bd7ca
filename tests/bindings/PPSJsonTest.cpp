// Conversion between the chrome's JSON and the lines of an object.
#include "bindings/PPSJson.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

using Tessel::Platform::parsePPSText;
using Tessel::Platform::PPSValue;
using Tessel::Platform::String;

std::string linesOf(std::string_view json) {
  String problem;
  const auto lines = ppsLinesFromJson(String(json), problem);
  return lines ? lines->toStdString() : "(refused)";
}

std::string jsonOf(std::string_view lines) {
  return ppsValueToJson(parsePPSText("o", lines)).toStdString();
}

TEST(PPSJsonTest, MembersBecomeLinesInTheirOrder) {
  EXPECT_EQ(linesOf(R"({"a":true,"b":1.5,"c":"x","d":{"e" : 1},"f":null})"),
            "a:b:1\nb:n:1.5\nc::x\nd:json:{\"e\":1}\nf:\n");
  EXPECT_EQ(linesOf(R"({"z":false,"a":[1, "\n", null, {}],"z":-0.0,"u":"\u00e4:\t","":""})"),
            "z:b:0\na:json:[1,\"\\n\",null,{}]\nz:n:-0\nu::\xc3\xa4:\t\n::\n");
  EXPECT_EQ(linesOf(R"({"a":"\ude00"})"), "a::\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\n");
  EXPECT_EQ(linesOf(R"({"n":1234567,"big":18446744073709551615,"small":1e-7,"int":-3})"),
            "n:n:1.23457e+06\nbig:n:1.84467e+19\nsmall:n:1e-07\nint:n:-3\n");
}

TEST(PPSJsonTest, WhatIsNoObjectGivesNoLines) {
  const std::string deep(100'000, '[');
  for (const std::string& json :
       {std::string(), std::string("[1]"), std::string("{}"), std::string("7"),
        std::string("{a:1}"), std::string(R"({"a":1)"), std::string(R"({"a":1}x)"),
        std::string(R"({"a":1e999})"), std::string(R"({"a":[5e308]})"),
        std::string(R"({"a":5e308})"), std::string("{\"a\":\"\xff\"}"), deep, R"({"a":)" + deep}) {
    EXPECT_EQ(linesOf(json), "") << json.substr(0, 40);
  }
}

TEST(PPSJsonTest, WhatWouldBecomeOtherLinesOrIsTooDeepIsRefused) {
  const std::string deep(100'000, '[');
  EXPECT_EQ(linesOf(R"({"a":)" + deep + std::string(deep.size(), ']') + "}"), "(refused)");
  for (const char* json : {R"({"a":"x\ny:b:1"})", R"({"ok":1,"a":"x\n"})", R"({"a\nb":1})",
                           R"({"a:b":1})", R"({":":null})"}) {
    EXPECT_EQ(linesOf(json), "(refused)") << json;
  }
  EXPECT_EQ(linesOf(R"({"a":["x\ny"]})"), "a:json:[\"x\\ny\"]\n");
}

TEST(PPSJsonTest, AttributesBecomeWhatTheirEncodingSays) {
  EXPECT_EQ(ppsValueToJson(PPSValue()), "{}");
  EXPECT_EQ(jsonOf(""), R"({"o":{}})");
  EXPECT_EQ(jsonOf("on:b:true\nn:n:12\n"), R"({"o":{"n":12,"on":true}})");
  EXPECT_EQ(jsonOf("a:b:1\nb:b:TRUE\nc:b:\n"), R"({"o":{"a":false,"b":false,"c":false}})");
  EXPECT_EQ(jsonOf("a:n:1234567\nb:n: -1.50x\nc:n:1e-7\nd:n:0x10\n"),
            R"({"o":{"a":1.23457e+06,"b":-1.5,"c":1e-07,"d":16}})");
  EXPECT_EQ(jsonOf("a:n:abc\nb:n:\nc:n:1e999\nd:n:inf\ne:n:nan\nf:n:1e-320\n"),
            R"({"o":{"a":"abc","b":"","c":"1e999","d":"inf","e":"nan","f":"1e-320"}})");
  EXPECT_EQ(jsonOf("x:json:{bad\ny:json: [1, {\"a\" : null}] \nz:json:\n"),
            R"({"o":{"x":"{bad","y":[1,{"a":null}],"z":""}})");
  EXPECT_EQ(jsonOf("a:json:5e308\nb:json:[-2e308]\nc:json:[1.7e308,0.1]\n"),
            R"({"o":{"a":"5e308","b":"[-2e308]","c":[1.7e+308,0.1]}})");
  EXPECT_EQ(jsonOf("a::say \"x\"\\\t\nb:other:1\nc:N:1\n"),
            R"({"o":{"a":"say \"x\"\\\t","b":"1","c":"1"}})");
  EXPECT_EQ(jsonOf("a:json:\"\\ude00\"\n"),
            "{\"o\":{\"a\":\"\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\"}}");
  EXPECT_EQ(jsonOf("a\xff::x\xfe\nb:json:\"\xff\"\n"),
            "{\"o\":{\"a\xef\xbf\xbd\":\"x\xef\xbf\xbd\",\"b\":\"\\\"\xef\xbf\xbd\\\"\"}}");
}

TEST(PPSJsonTest, DeepJsonStaysAText) {
  const auto nested = [](int depth) {
    return std::string(std::size_t(depth), '[') + "\"]\\\"\"" +
           std::string(std::size_t(depth), ']');
  };
  EXPECT_EQ(jsonOf("a:json:" + nested(64)), R"({"o":{"a":)" + nested(64) + "}}");
  EXPECT_EQ(jsonOf("a:json:" + nested(65)).substr(0, 12), R"({"o":{"a":"[)");
  EXPECT_EQ(linesOf(R"({"a":)" + nested(63) + "}"), "a:json:" + nested(63) + "\n");
  EXPECT_EQ(linesOf(R"({"a":)" + nested(64) + "}"), "(refused)");
}

}  // namespace
