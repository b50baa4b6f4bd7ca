// The webview.* commands: the table, common behaviour, and the conversions.
#include "tests/support/ChromeFixture.h"
#include "webview/commands/CommandTable.h"
#include "webview/commands/Values.h"

#include <cerrno>
#include <iomanip>
#include <sstream>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class CommandTableTest : public test_support::ChromeFixture {
 protected:
  // Calls "webview.<name>" on the web view of the test.
  std::string call(const char* name, std::vector<const char*> arguments = {}) {
    const std::string fullName = std::string("webview.") + name;
    const std::string handleText = std::to_string(handle);
    arguments.insert(arguments.begin(), {fullName.c_str(), handleText.c_str()});
    return callNative(arguments);
  }
  // The argument is rejected: reported once, without a result.
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

TEST_F(CommandTableTest, RecordsOfAWebViewThatIsNowhereAreTheDefaultOnes) {
  manager.markCreated(88888);
  EXPECT_EQ(callNative({"webview.viewport", "88888"}), R"({"height":0,"width":0,"x":0,"y":0})");
  EXPECT_EQ(callNative({"webview.knownSSLCertificates", "88888"}), "{}");
  EXPECT_EQ(callNative({"webview.getHistoryList", "88888"}), "[]");
  EXPECT_EQ(callNative({"webview.title", "88888"}), "");
  manager.destroyWebView(88888);
}

TEST_F(CommandTableTest, OfCertificatesAllAreTakenOrNone) {
  for (const char* text : {"none", "[]", R"({"a.example":"x"})", R"({"a.example":{}})"}) {
    EXPECT_EQ(call("addKnownSSLCertificates", {text}), "0") << text;
  }
  EXPECT_EQ(call("knownSSLCertificates"), "{}");
}

TEST_F(CommandTableTest, RefusedArgumentIsReportedWithItsPositionAndChangesNothing) {
  for (const char* text : {"", "x", R"({"x":1,"y":1,"width":1,"height":1)"}) {
    expectRefused("setViewport", {text}, 0);
  }
  // The first rejected argument, at any position.
  expectRefused("setGeometry", {"1", "2", "2147483648", "2147483648"}, 2);
  expectRefused("setGeometry", {"1", "2147483648", "2147483648", "4"}, 1);
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

TEST_F(CommandTableTest, WordsNumbersListsAndHandlesArrive) {
  for (const auto& [word, flag] : {std::pair("true", "1"),
                                   {"false", "0"},
                                   {"TRUE", "0"},
                                   {"1", "0"},
                                   {"true ", "0"},
                                   {"", "0"}}) {
    call("setLoadImages", {word});
    EXPECT_EQ(call("isLoadImages"), flag) << word;
  }
  // Invalid elements, and elements out of range, are skipped.
  call("executeJavaScriptFunction",
       {R"(["a","b"])", R"([1,0.5,"t",true,2147483648,18446744073709551616,null,[2],{"c":3}])"});
  ASSERT_THAT(itsPage->posted, SizeIs(1));
  EXPECT_EQ(itsPage->posted[0].arguments, (std::vector<JavaScriptVariant>{1, 0.5, "t", true}));
  call("dialogResponse", {"4294967295", "true", "text", "user", "word"});
  ASSERT_THAT(itsPage->answers, SizeIs(1));
  EXPECT_EQ(itsPage->answers[0].first, 4294967295u);
  EXPECT_EQ(itsPage->answers[0].second.password, "word");

  // The window is looked up among the application's windows.
  WebView::installWindowLookup([](const std::string& id) { return static_cast<int>(id.size()); });
  EXPECT_EQ(call("jsScreenWindowHandle"), std::to_string(view.windowUniqueId().length()));
  WebView::installWindowLookup(nullptr);
  EXPECT_THAT(errors(), IsEmpty());
}

// The parsed value of that type, or "refused".
template <typename Type>
std::string valueOf(const char* text) {
  // A stale errno does not affect the conversion.
  errno = ERANGE;
  Type value = 77;
  if (!commands::Value<Type>::parse(text, value)) return "refused";
  return (std::ostringstream() << std::setprecision(17) << value).str();
}

TEST(ValuesTest, NumbersTakeTheirWholeRangeAndNothingBeyond) {
  const struct {
    std::string (*read)(const char*);
    const char* text;
    const char* value;
  } rows[] = {{valueOf<int>, "2147483647", "2147483647"},
              {valueOf<int>, "-2147483648", "-2147483648"},
              {valueOf<int>, "2147483648", "refused"},
              {valueOf<int>, "-2147483649", "refused"},
              {valueOf<int>, "9223372036854775808", "refused"},
              {valueOf<int>, " +12abc", "12"},
              {valueOf<int>, "0x10", "0"},
              {valueOf<int>, "", "0"},
              {valueOf<unsigned int>, "4294967295", "4294967295"},
              {valueOf<unsigned int>, "4294967296", "refused"},
              {valueOf<unsigned int>, "18446744073709551616", "refused"},
              {valueOf<unsigned int>, "-1", "refused"},
              {valueOf<double>, "1.5", "1.5"},
              {valueOf<double>, "-3.4028234663852886e38", "-3.4028234663852886e+38"},
              {valueOf<double>, "2e-3 and more", "0.002"},
              {valueOf<double>, "none", "0"}};
  for (const auto& [read, text, value] : rows) EXPECT_EQ(read(text), value) << text;
  // Doubles accept values in a float's range.
  for (const char* text : {"3.5e38", "-3.5e38", "1e309", "1e-400", "inf", "-inf", "nan"}) {
    EXPECT_EQ(valueOf<double>(text), "refused") << text;
  }
}

}  // namespace
