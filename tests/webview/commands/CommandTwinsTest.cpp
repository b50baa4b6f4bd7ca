// Every command, called the same on two web views: one of this process, one behind messages.
#include "tests/support/ChromeFixture.h"
#include "tests/support/MemoryTransport.h"
#include "webview/commands/CommandTable.h"
#include "webview/commands/IPCSenderWebView.h"

#include <algorithm>
#include <iterator>
#include <set>

namespace {

// Texts of every kind that commands take; for each argument the first that is not refused.
constexpr const char* samples[] = {"7",
                                   R"({"height":40,"width":30,"x":1,"y":2})",
                                   "Focus",
                                   "Title",
                                   "ActionSave",
                                   "SSLActionReject",
                                   "FocusDirectionTop",
                                   "Copy",
                                   "ApplicationActivationStateStandby",
                                   "SensitivityNever",
                                   "TextReflowEnabled",
                                   "IsolatedWorld"};

// What names a web view or one of its windows, counts in the process, or crosses as its default.
const std::set<std::string> differing{"createFadeColorWindow",     "executeJavaScript",
                                      "executeJavaScriptFunction", "fadeColorWindowPlatformHandle",
                                      "jsScreenWindowHandle",      "windowUniqueId"};

class CommandTwinsTest : public test_support::ChromeFixture {
 protected:
  CommandTwinsTest() { manager.addRemoteWebView(new IPCSenderWebView(&childGroup, there)); }

  struct Outcome {
    std::string result;
    std::vector<std::string> trace;
    std::vector<WebViewSetting> settings;
    std::vector<std::string> errors;
  };
  Outcome call(unsigned int handle, const char* name, const std::vector<std::string>& arguments) {
    const std::string function = std::string("webview.") + name;
    const std::string handleText = std::to_string(handle);
    std::vector<const char*> texts{function.c_str(), handleText.c_str()};
    for (const std::string& argument : arguments) texts.push_back(argument.c_str());
    test_support::FakePage& page = *pages.at(handle);
    page.trace.clear();
    page.changedSettings.clear();
    Outcome outcome;
    outcome.result = callNative(texts);
    outcome.trace = page.trace;
    outcome.settings = page.changedSettings;
    outcome.errors = errors();
    return outcome;
  }

  // Arguments that the command takes, found on the web view of this process.
  std::vector<std::string> argumentsOf(const CommandRow& row, Outcome& outcome) {
    std::vector<std::size_t> chosen(
        static_cast<std::size_t>(row.requiredArguments + row.optionalArguments), 0);
    for (;;) {
      std::vector<std::string> arguments;
      for (const std::size_t sample : chosen) arguments.emplace_back(samples[sample]);
      outcome = call(here, row.name, arguments);
      constexpr std::string_view refusal = "at position: ";
      const auto refused = std::find_if(
          outcome.errors.begin(), outcome.errors.end(),
          [&](const std::string& error) { return error.find(refusal) != std::string::npos; });
      if (refused == outcome.errors.end()) return arguments;
      const std::size_t position =
          std::stoul(refused->substr(refused->find(refusal) + refusal.size()));
      if (++chosen.at(position) == std::size(samples)) {
        ADD_FAILURE() << row.name << " takes none of the samples at " << position;
        return {};
      }
    }
  }

  const unsigned int here = createWebView();
  const unsigned int there = createWebView();
  const std::map<unsigned int, std::shared_ptr<test_support::FakePage>> pages{
      {here, pageOf(here)}, {there, pageOf(there)}};
  IPCSenderGroup childGroup{1, 42};
  test_support::MemoryTransport transport;
};

TEST_F(CommandTwinsTest, EveryCommandDoesTheSameOnBothPaths) {
  std::size_t compared = 0;
  // The ends last: nothing follows them.
  const std::set<std::string> ends{"destroy", "destroyIfNotRejectedByUser"};
  for (const bool end : {false, true}) {
    for (const CommandRow& row : commandTable()) {
      if (ends.contains(row.name) != end) continue;
      Outcome direct;
      const std::vector<std::string> arguments = argumentsOf(row, direct);
      const Outcome crossed = call(there, row.name, arguments);
      EXPECT_EQ(direct.trace.size(), crossed.trace.size()) << row.name;
      EXPECT_EQ(direct.settings, crossed.settings) << row.name;
      EXPECT_EQ(direct.errors.size(), crossed.errors.size()) << row.name;
      if (!differing.contains(row.name)) {
        EXPECT_EQ(direct.trace, crossed.trace) << row.name;
        EXPECT_EQ(direct.result, crossed.result) << row.name;
      }
      EXPECT_EQ(direct.result.empty(), crossed.result.empty()) << row.name;
      ++compared;
    }
  }
  EXPECT_EQ(compared, commandTable().size());
  EXPECT_GE(transport.channels.size(), commandTable().size() - 1) << "all but one have a message";
}

}  // namespace
