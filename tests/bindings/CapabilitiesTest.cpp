// Permissions by a capabilities file, and error positions of malformed ones.
#include "registry/Capabilities.h"

#include <gtest/gtest.h>

namespace {

bool allows(const Capabilities& capabilities, const char* origin, const char* function) {
  OrvWebJavaScriptCallbackEvent call({function});
  const bool isOwn = std::string_view(origin) == "self";
  call.setCaller(isOwn ? "local://" : origin, isOwn);
  return capabilities.allow(call);
}

TEST(CapabilitiesTest, GroupsPrefixesAndNamesAreForWholeOrigins) {
  const Capabilities none;
  EXPECT_TRUE(allows(none, "self", "webview.create") && allows(none, "self", "no.such"));
  EXPECT_FALSE(allows(none, "https://a", "webview.create") || allows(none, "", "pps.open"));

  std::string problem;
  const auto some = Capabilities::read(
      R"({"https://a": ["pps.*", "analytics", "application.rotate"],
          "file:///opt/board/": ["views"], "self": ["webview.title"]})",
      problem);
  ASSERT_TRUE(some) << problem;
  for (const char* function : {"pps.open", "pps.write", "ccl.init", "application.rotate"}) {
    EXPECT_TRUE(allows(*some, "https://a", function)) << function;
    EXPECT_FALSE(allows(*some, "https://b", function) || allows(*some, "self", function))
        << function;
  }
  for (const char* function : {"application.setenv", "ppsx.open", "webview.title", ""}) {
    EXPECT_FALSE(allows(*some, "https://a", function)) << function;
  }
  EXPECT_TRUE(allows(*some, "file:///opt/board/more/", "webview.loadURL"));
  EXPECT_TRUE(allows(*some, "file:///opt/board/", "webview.create"));
  EXPECT_FALSE(allows(*some, "file:///opt/board/", "webview.setAllowWebInspection"));
  EXPECT_TRUE(allows(*some, "self", "webview.title"));
  EXPECT_EQ(some->origins().size(), 2u);
}

TEST(CapabilitiesTest, AWrongFileSaysWhere) {
  const std::pair<const char*, const char*> texts[] = {
      {"{\"self\": [\"*\"],\n  oops}", "2:3: "},
      {"[]", "1:1: "},
      {"{\"self\": [\"*\"],\n \"https://a/b\": []}", "2:2: \"https://a/b\" is no origin"},
      {"{\"*\": [\"*\"]}", "\"*\" is no origin"},
      {"{\"self\": \"*\"}", "1:2: \"self\" has no list"},
      {"{\"self\": [1]}", "1:2: \"self\" has something else"},
      {"{\"self\": [\"pps.opn\"]}", "1:11: \"pps.opn\" is no native function"},
      {"{\"self\": [\"ppss.*\"]}", "is no native function"},
      {"", "1:1: "}};
  for (const auto& [text, expected] : texts) {
    std::string problem;
    EXPECT_FALSE(Capabilities::read(text, problem)) << text;
    EXPECT_NE(problem.find(expected), std::string::npos) << text << " gives " << problem;
  }
}

}  // namespace
