// The webview.* commands: the table, what all of them have in common, and the conversions.
#include "tests/support/ChromeFixture.h"
#include "webview/commands/CommandTable.h"
#include "webview/commands/Values.h"

#include <clocale>
#include <cmath>
#include <map>
#include <sstream>

namespace {

using Tessel::Platform::String;
using test_support::turnLoop;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

// The numbers by which processes know the commands: they never change.
constexpr const char* messageNumbers =
    "2001 applicationWindowGroup 2002 arguments 2004 canGoBack 2005 canGoForward 2006 "
    "cancelVibration 2243 chooseFileResponse 2245 convertIDNtoReadableStringByLanguage 2282 "
    "createFadeColorWindow 2020 defaultFontSize 2021 defaultTextEncoding 2022 destroy 2023 "
    "destroyFadeColorWindow 2025 devicePixelRatio 2283 dialogResponse 2137 downloadCancel 2138 "
    "downloadPause 2139 downloadRemove 2140 downloadResume 2141 downloadRetry 2271 "
    "downloadUpdate 2272 downloadUrl 2142 enableOrvJavaScriptObject 2026 encryptionInfo 2027 "
    "eventNames 2246 executeJavaScript 2247 executeJavaScriptFunction 2028 extraHttpHeaders "
    "2029 fadeColorWindowPlatformHandle 2030 favicon 2284 findString 2036 getHistoryList 2037 "
    "goBack 2038 goForward 2039 historyLength 2040 historyPosition 2042 "
    "isAllPropertyChangedEventsEnabled 2043 isAllWebEventsEnabled 2041 isActive 2162 setActive "
    "2045 "
    "isAnyPropertyChangedEventsEnabled 2046 isAnyWebEventsEnabled 2048 isBlockPopups 2050 "
    "isEnableConsoleLogging 2056 isEnableDialogRequestedEvents 2057 isEnableDiskCache 2064 "
    "isEnableJavaScript 2068 isEnablePlugins 2070 isEnableSpatialNavigation 2072 "
    "isEnableWebContentCache 2073 isEnableWebInspector 2075 isLoadImages 2148 "
    "isPropertyChangedEventEnabled 2079 isVisible 2149 isWebEventEnabled 0 "
    "jsScreenWindowHandle 2084 loadProgress 2251 loadString 2273 loadStringWithBase 2151 "
    "loadURL 2085 location 2152 log 2088 minimumFontSize 2252 "
    "notificationPermissionCheckResponse 2253 openWindowResponse 2093 originalLocation 2159 "
    "printToStderr 2160 printToStdout 2096 reload 2103 secureType 2163 "
    "setAllPropertyChangedEventsEnabled 2164 setAllWebEventsEnabled 2257 setAllowGeolocation "
    "2258 setAllowNotification 2259 setAllowUserMedia 2171 setBlockPopups 2172 "
    "setDefaultFontSize 2173 setDefaultTextEncoding 2175 setDevicePixelRatio 2176 "
    "setEnableConsoleLogging 2182 setEnableDialogRequestedEvents 2183 setEnableDiskCache 2190 "
    "setEnableJavaScript 2194 setEnablePlugins 2196 setEnableSpatialNavigation 2198 "
    "setEnableWebContentCache 2200 setExtraHttpHeaders 2201 setExtraPluginDirectory 2278 "
    "setFadeColorWindowRect 2279 setFadeWindowColor 2280 setGeometry 2206 setJSWebViewBindings "
    "2281 setLayerTilerPrefillRect 2210 setLoadImages 2211 setMinimumFontSize 2214 "
    "setPopupWebView 2262 setPropertyChangedEventEnabled 2223 setUserAgent 2225 setViewport "
    "2233 setVisible 2263 setWebEventEnabled 2234 setWebInspectorEnabled 2235 setZOrder 2106 "
    "status 2107 stop 2112 title 2115 userAgent 2117 viewport 2126 windowUniqueId 2127 zOrder";

class CommandTableTest : public test_support::ChromeFixture {
 protected:
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
};

TEST_F(CommandTableTest, EveryCommandKeepsItsMessageNumber) {
  std::map<std::string, int> numbers;
  std::istringstream stream(messageNumbers);
  std::string name;
  for (int number = 0; stream >> number >> name;) numbers[name] = number;
  for (const CommandRow& row : commandTable()) {
    ASSERT_TRUE(numbers.count(row.name)) << row.name << " is new: write its number down here";
    EXPECT_EQ(row.messageNumber, numbers[row.name]) << row.name;
  }
  EXPECT_EQ(commandTable().size(), numbers.size());
}

TEST_F(CommandTableTest, EveryCommandCountsItsArgumentsAfterTheHandle) {
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

TEST_F(CommandTableTest, EveryCommandIsRefusedForAWebViewThatIsNotCreated) {
  // One that is there but could never report itself.
  const unsigned int unreported = manager.createWebView("no such group", 0);
  turnLoop();
  ASSERT_TRUE(manager.webViewForHandle(unreported));
  errors();
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

TEST_F(CommandTableTest, SettersWithAFlagTakeTheExactWordAndGettersTellOneOrZero) {
  for (const char* flag :
       {"AllPropertyChangedEventsEnabled", "AllWebEventsEnabled", "BlockPopups",
        "EnableConsoleLogging", "EnableDiskCache", "EnableJavaScript", "EnablePlugins",
        "EnableSpatialNavigation", "EnableWebContentCache", "LoadImages", "Visible"}) {
    const std::string setter = std::string("set") + flag;
    const std::string getter = std::string("is") + flag;
    for (const char* other : {"false", "TRUE", "1", "true ", ""}) {
      EXPECT_EQ(call(setter.c_str(), {"true"}), "");
      EXPECT_EQ(call(getter.c_str()), "1") << getter;
      EXPECT_EQ(call(setter.c_str(), {other}), "");
      EXPECT_EQ(call(getter.c_str()), "0") << getter << " after " << other;
    }
  }
  call("setWebInspectorEnabled", {"true"});
  EXPECT_EQ(call("isEnableWebInspector"), "1");
  EXPECT_EQ(call("isAnyWebEventsEnabled"), "0");
  EXPECT_EQ(call("isAnyPropertyChangedEventsEnabled"), "0");
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(CommandTableTest, RefusedArgumentIsReportedWithItsPositionAndChangesNothing) {
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

TEST_F(CommandTableTest, ArgumentsThatAreLeftOutHaveTheirDefaults) {
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
