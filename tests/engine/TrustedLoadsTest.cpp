// Which documents were loaded by the program: origins, and the loads of one page.
#include "engine/TrustedLoads.h"

#include <gtest/gtest.h>

namespace {

TEST(OriginTest, CountsWholeAndOfFilesIsTheFolder) {
  const auto holds = [](const char* origin, const char* url) {
    return Origin::of(origin).holds(url);
  };
  EXPECT_TRUE(holds("https://a.example/x", "https://A.example:443/y?z#w"));
  EXPECT_TRUE(holds("local:///chrome/index.html", "local:///other.html"));
  EXPECT_TRUE(holds("file:///opt/board/index.html", "file:///opt/board/more/page.html"));
  EXPECT_EQ(Origin::of("http://[::1]:8080/").text(), "http://[::1]:8080");
  for (const char* stranger :
       {"http://a.example/", "https://a.example:444/", "https://b.a.example/",
        "https://a.example.b/", "https://a.example@b/", "about:blank", "data:text/html,x",
        "blob:https://a.example/1", "", "x"}) {
    EXPECT_FALSE(holds("https://a.example/", stranger)) << stranger;
  }
  for (const char* stranger :
       {"file:///opt/board2/x", "file:///opt/", "file://host/opt/board/x", "file:///opt/board/../x",
        "file:///opt/board/%2e%2e/x", "file:///opt/board/..%2fx", "http:///opt/board/"}) {
    EXPECT_FALSE(holds("file:///opt/board/index.html", stranger)) << stranger;
  }
  EXPECT_FALSE(holds("about:blank", "about:blank"));
}

// The text is an address, which is parsed again to look up a caller's permissions.
TEST(OriginTest, ItsTextIsOfTheSameOrigin) {
  for (const char* url : {"file:///opt/%2562oard/x", "file:///opt/board%23x/y",
                          "file:///a%20b/%3f/z", "http://A.example:8080/x", "http://[::1]/"}) {
    const auto text = Origin::of(url).text();
    EXPECT_EQ(Origin::of(text.view()).text(), text);
    EXPECT_TRUE(Origin::of(url).holds(url)) << text.utf8();
  }
  EXPECT_FALSE(Origin::of("file:///opt/board/").holds("file:///opt/%2562oard/x"));
  EXPECT_EQ(Origin::of("file:///opt/%2562oard/x").text(), "file:///opt/%2562oard/");
  EXPECT_TRUE(Origin::of("http://a%2fb/").isNone());
}

class TrustedLoadsTest : public testing::Test {
 protected:
  // The engine's signals for a document; the last address is the final one.
  bool go(const char* from, const char* to = nullptr) {
    loads.started();
    const bool wasKnown = loads.requested(from);
    const bool isKnown = loads.answered(to ? to : from);
    loads.committed(to ? to : from);
    EXPECT_EQ(isKnown, loads.isTrusted());
    return wasKnown && isKnown;
  }

  TrustedLoads loads;
};

TEST_F(TrustedLoadsTest, WhatTheProgramLoadsIsTrustedWithItsRedirectsUntilThePageLeaves) {
  EXPECT_FALSE(go("http://a/"));
  loads.expect("http://a/#top");
  EXPECT_TRUE(go("http://a/", "http://login/"));
  EXPECT_TRUE(loads.isOwn());
  EXPECT_EQ(loads.origin(), "http://login");
  // Both ends of the redirect are trusted for later navigations.
  EXPECT_TRUE(go("http://login/next"));
  EXPECT_TRUE(go("http://a/"));
  EXPECT_FALSE(go("http://a/out", "http://evil/"));
  EXPECT_FALSE(go("http://a/"));
  // The https form, which the server has required earlier.
  loads.expect("http://a/");
  EXPECT_TRUE(go("https://a/"));
}

TEST_F(TrustedLoadsTest, AnotherLoadIsNotTheProgramsWhileThatIsWaitedFor) {
  loads.expect("http://a/");
  EXPECT_TRUE(go("http://a/"));
  loads.expect("http://b/");
  EXPECT_FALSE(go("http://evil/", "http://evil/2"));
  // An unrequested document arrives, and the engine reports the address of the program's load.
  loads.started();
  loads.committed("http://b/");
  EXPECT_FALSE(loads.isTrusted());
  EXPECT_EQ(loads.destination(), "http://b/");
  loads.started();
  EXPECT_TRUE(loads.requested("http://b/"));
  loads.started();
  EXPECT_FALSE(loads.requested("http://evil/"));
  EXPECT_FALSE(loads.answered("http://b.evil/"));
  EXPECT_FALSE(loads.destination());
}

TEST_F(TrustedLoadsTest, ADocumentThatComesIsKnownBeforeItIsThere) {
  loads.expect("http://a/");
  EXPECT_TRUE(loads.admits("http://a/"));
  loads.started();
  loads.requested("http://a/");
  EXPECT_FALSE(loads.isTrustedNext());
  loads.answered("http://b/");
  EXPECT_TRUE(loads.admits("http://b/x") && !loads.admits("http://c/"));
  EXPECT_EQ(loads.isTrustedNext(), true);
  EXPECT_TRUE(!loads.isTrusted() && loads.changesCaller());
  loads.ended();
  EXPECT_FALSE(loads.isTrustedNext() || loads.admits("http://b/"));
  // Loading a text involves no server.
  loads.expect("about:blank", true);
  loads.started();
  loads.requested("about:blank");
  EXPECT_EQ(loads.isTrustedNext(), true);
  loads.committed("about:blank");
  EXPECT_TRUE(loads.isTrusted() && loads.isOwn() && loads.admits("about:blank"));
  loads.started();
  loads.committed("about:blank");
  EXPECT_FALSE(loads.isTrusted());
}

TEST_F(TrustedLoadsTest, AFailureKeepsTheOriginForTheNextTry) {
  loads.expect("http://a/");
  loads.started();
  loads.requested("http://a/");
  loads.ended();
  loads.substitute("http://a/");
  loads.started();
  EXPECT_TRUE(loads.requested("about:blank"));
  loads.committed("http://a/");
  EXPECT_TRUE(go("http://a/"));
  loads.setFurtherOrigins({Origin::of("http://panel/")});
  EXPECT_TRUE(go("http://panel/"));
  EXPECT_FALSE(loads.isOwn());
  // A trusted document is replaced by another one: until then a call may come from either.
  loads.started();
  loads.requested("http://panel/2");
  loads.answered("http://panel/2");
  EXPECT_FALSE(loads.changesCaller());
  loads.answered("http://a/");
  EXPECT_TRUE(loads.changesCaller());
}

}  // namespace
