// The webview.* commands: the table, what all of them have in common, and the conversions.
#include "tests/support/ChromeFixture.h"
#include "tests/support/MemoryTransport.h"
#include "webview/commands/CommandTable.h"
#include "webview/commands/IPCSenderWebView.h"
#include "webview/commands/Values.h"

#include <clocale>
#include <cmath>
#include <map>
#include <utility>

namespace {

using test_support::turnLoop;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

// Commands behave the same on a web view of this process and on one behind messages.
enum class Path { Direct, Messages };

class CommandTableTest : public test_support::ChromeFixture,
                         public ::testing::WithParamInterface<Path> {
 protected:
  CommandTableTest() {
    if (GetParam() == Path::Direct) return;

    manager.addRemoteWebView(new IPCSenderWebView(&childGroup, handle));
  }
  // Whether commands went the way that the test is for since the last call.
  bool tookItsPath() {
    return std::exchange(transport.channels, {}).empty() == (GetParam() == Path::Direct);
  }

  // Calls "webview.<name>" on the web view of the test.
  std::string call(const char* name, std::vector<const char*> arguments = {}) {
    const std::string fullName = std::string("webview.") + name;
    const std::string handleText = std::to_string(handle);
    arguments.insert(arguments.begin(), {fullName.c_str(), handleText.c_str()});
    return callNative(arguments);
  }
  // The argument is refused: reported once, and there is no result.
  void expectRefused(const char* name, std::vector<const char*> arguments, int position) {
    EXPECT_EQ(call(name, arguments), "");
    const std::string function = std::string("native function: \"") + name + "\"";
    EXPECT_THAT(errors(),
                ElementsAre("Argument error when trying to call " + function + " with argument \"" +
                            arguments[static_cast<std::size_t>(position)] +
                            "\" at position: " + std::to_string(position)));
  }

  const unsigned int handle = createWebView();
  WebView& view = webView(handle);
  const std::shared_ptr<test_support::FakePage> itsPage = pageOf(handle);
  IPCSenderGroup childGroup{1, 42};
  test_support::MemoryTransport transport;
};

INSTANTIATE_TEST_SUITE_P(EveryPath, CommandTableTest,
                         ::testing::Values(Path::Direct, Path::Messages), [](const auto& test) {
                           return test.param == Path::Direct ? "Direct" : "Messages";
                         });

TEST_P(CommandTableTest, EveryCommandCountsItsArgumentsAfterTheHandle) {
  for (const CommandRow& row : commandTable()) {
    const int most = row.requiredArguments + row.optionalArguments;
    for (const int count : {row.requiredArguments - 1, most + 1}) {
      const std::string fullName = std::string("webview.") + row.name;
      std::vector<const char*> arguments{fullName.c_str()};
      // One too few of a command without arguments is a call without a handle.
      for (int i = -1; i < count; ++i) arguments.push_back("1");
      EXPECT_EQ(callNative(arguments), "");
      std::string expected = countError(row.name, count, row.requiredArguments);
      if (most != row.requiredArguments) {
        expected += " (" + std::to_string(most) + " with optional args)";
      }
      EXPECT_THAT(errors(), ElementsAre(expected));
    }
  }
}

TEST_P(CommandTableTest, EveryCommandIsRefusedForAWebViewThatIsNotCreated) {
  // One that is there but could never report itself.
  const unsigned int unreported = manager.createWebView("no such group", 0);
  turnLoop();
  ASSERT_TRUE(manager.webViewForHandle(unreported));
  EXPECT_THAT(errors(), ElementsAre(::testing::HasSubstr("\"no such group\"")));
  const std::string pending = std::to_string(unreported);
  const std::map<std::string, std::string> handles{
      {pending, pending}, {"abc", "0"}, {"", "0"}, {"99999", "99999"}};
  for (const CommandRow& row : commandTable()) {
    for (const auto& [text, number] : handles) {
      const std::string fullName = std::string("webview.") + row.name;
      std::vector<const char*> arguments{fullName.c_str(), text.c_str()};
      // Some of these would be refused as well: the web view is asked for first.
      arguments.insert(arguments.end(), static_cast<std::size_t>(row.requiredArguments), "?");
      EXPECT_EQ(callNative(arguments), "");
      EXPECT_THAT(errors(), ElementsAre("WebView: " + number +
                                        " has not been created yet, so the call to \"" + row.name +
                                        "\" will be ignored."));
    }
  }
  EXPECT_EQ(callNative({"webview.title", nullptr}), "");
  EXPECT_THAT(errors(), SizeIs(1));
  manager.destroyWebView(unreported);
}

TEST_P(CommandTableTest, RefusedArgumentIsReportedWithItsPositionAndChangesNothing) {
  expectRefused("setZOrder", {"2147483648"}, 0);
  expectRefused("setDevicePixelRatio", {"1e39"}, 0);
  for (const char* text : {"", "x", R"({"x":1,"y":1,"width":1,"height":1)"}) {
    expectRefused("setViewport", {text}, 0);
  }
  for (const char* text : {"focus", "PropertyTitleEvent", ""}) {
    expectRefused("setWebEventEnabled", {text, "true"}, 0);
    expectRefused("isWebEventEnabled", {text}, 0);
    expectRefused("setPropertyChangedEventEnabled", {text, "true"}, 0);
    expectRefused("isPropertyChangedEventEnabled", {text}, 0);
  }
  // The first one that is refused, wherever it stands.
  expectRefused("setGeometry", {"1", "2", "2147483648", "2147483648"}, 2);
  expectRefused("setGeometry", {"1", "2147483648", "2147483648", "4"}, 1);
  expectRefused("createFadeColorWindow", {"1", "2", "3", "4", "2147483648"}, 4);
  EXPECT_EQ(call("zOrder"), "0");
  EXPECT_EQ(call("devicePixelRatio"), "1");
  EXPECT_EQ(call("fadeColorWindowPlatformHandle"), "0");
  EXPECT_EQ(view.viewport(), OrvWebRect());
}

TEST_P(CommandTableTest, ArgumentsThatAreLeftOutHaveTheirDefaults) {
  call("loadString", {"<p>"});
  call("loadString", {"a", "text/plain"});
  call("loadString", {"b", nullptr});
  call("loadStringWithBase", {"<p>", "local:///base"});
  call("loadStringWithBase", {"d", "local:///base", "text/plain"});
  EXPECT_THAT(itsPage->trace,
              ElementsAre("loadText(<p>, text/html, )", "loadText(a, text/plain, )",
                          "loadText(b, , )", "loadText(<p>, text/html, local:///base)",
                          "loadText(d, text/plain, local:///base)"));
  EXPECT_EQ(call("convertIDNtoReadableStringByLanguage", {"plain.example"}), "plain.example");
  EXPECT_THAT(errors(), IsEmpty());
  EXPECT_TRUE(tookItsPath());
}

TEST_P(CommandTableTest, ValuesOfEveryKindArrive) {
  for (const auto& [word, flag] : {std::pair("true", "1"),
                                   {"false", "0"},
                                   {"TRUE", "0"},
                                   {"1", "0"},
                                   {"true ", "0"},
                                   {"", "0"}}) {
    call("setLoadImages", {word});
    EXPECT_EQ(call("isLoadImages"), flag) << word;
  }
  call("setDevicePixelRatio", {"1.1"});
  EXPECT_EQ(call("devicePixelRatio"), "1.1");
  call("setUserAgent", {"\xc3\xa4 \"agent\""});
  EXPECT_EQ(call("userAgent"), "\xc3\xa4 \"agent\"");
  itsPage->historyItems = {{"local:///1", "local:///0", "one", true}};
  EXPECT_EQ(call("getHistoryList"), fields::textOf(itsPage->historyItems).toStdString());
  call("executeJavaScriptFunction", {R"(["a","b"])", R"([1,0.5,"t",true])"});
  ASSERT_THAT(itsPage->posted, SizeIs(1));
  EXPECT_EQ(itsPage->posted[0].arguments, (std::vector<JavaScriptVariant>{1, 0.5, "t", true}));
  call("dialogResponse", {"4294967295", "true", "text", "user", "word"});
  ASSERT_THAT(itsPage->answers, SizeIs(1));
  EXPECT_EQ(itsPage->answers[0].first, 4294967295u);
  EXPECT_EQ(itsPage->answers[0].second.password, "word");
  call("openWindowResponse", {"6", "0"});
  ASSERT_THAT(itsPage->windows, SizeIs(1));
  EXPECT_EQ(itsPage->windows[0].second, nullptr);
  EXPECT_TRUE(tookItsPath());

  // The window is looked up where the application's windows are.
  WebView::installWindowLookup([](const std::string& id) { return static_cast<int>(id.size()); });
  EXPECT_EQ(call("jsScreenWindowHandle"), std::to_string(view.windowUniqueId().length()));
  WebView::installWindowLookup(nullptr);
  EXPECT_TRUE(tookItsPath());
  EXPECT_THAT(errors(), IsEmpty());
}

TEST(ValuesTest, IntegersTakeTheirWholeRangeAndNothingBeyond) {
  const auto signedFrom = [](const char* text) {
    int value = 77;
    return commands::Value<int>::parse(text, value) ? std::to_string(value) : "refused";
  };
  EXPECT_EQ(signedFrom("2147483647"), "2147483647");
  EXPECT_EQ(signedFrom("-2147483648"), "-2147483648");
  EXPECT_EQ(signedFrom("2147483648"), "refused");
  EXPECT_EQ(signedFrom("-2147483649"), "refused");
  EXPECT_EQ(signedFrom("9223372036854775808"), "refused");
  EXPECT_EQ(signedFrom(" +12abc"), "12");
  EXPECT_EQ(signedFrom("0x10"), "0");
  EXPECT_EQ(signedFrom(""), "0");

  const auto unsignedFrom = [](const char* text) {
    unsigned int value = 77;
    return commands::Value<unsigned int>::parse(text, value) ? std::to_string(value) : "refused";
  };
  EXPECT_EQ(unsignedFrom("4294967295"), "4294967295");
  EXPECT_EQ(unsignedFrom("4294967296"), "refused");
  EXPECT_EQ(unsignedFrom("18446744073709551616"), "refused");
  EXPECT_EQ(unsignedFrom("-1"), "refused");
  // An error that somebody else left behind is none of this conversion's.
  errno = ERANGE;
  EXPECT_EQ(signedFrom("1"), "1");
  errno = ERANGE;
  EXPECT_EQ(unsignedFrom("2"), "2");
}

TEST(ValuesTest, NumbersTakeWhatAFloatCanHold) {
  const auto number = [](const char* text) {
    double value = 0;
    return commands::Value<double>::parse(text, value) ? value : std::nan("");
  };
  EXPECT_EQ(number("1.5"), 1.5);
  EXPECT_EQ(number("-3.4028234663852886e38"), -3.4028234663852886e38);
  EXPECT_EQ(number("2e-3 and more"), 0.002);
  EXPECT_EQ(number("none"), 0);
  for (const char* text : {"3.5e38", "-3.5e38", "1e309", "1e-400", "inf", "-inf", "nan"}) {
    EXPECT_TRUE(std::isnan(number(text))) << text;
  }
}

}  // namespace
