// The program's options, and the precedence of their sources.
#include "src/ProgramOptions.h"
#include "tests/support/OwnProcess.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

using test_support::inOwnProcess;

class ProgramOptionsTest : public testing::Test {
 protected:
  ProgramOptionsTest() { std::filesystem::create_directories(folder_.path() / "pagehost"); }

  // In a separate process: options change the environment, and may exit.
  std::string taken(std::vector<std::string> arguments) const {
    ::setenv("XDG_CONFIG_HOME", folder_.path().c_str(), 1);
    arguments.insert(arguments.begin(), "pagehost");
    std::vector<char*> texts;
    for (std::string& each : arguments) texts.push_back(each.data());
    std::string words;
    for (const char* word : takeOptions(static_cast<int>(texts.size()), texts.data())) {
      if (word) words += std::string(word) + " ";
    }
    return words;
  }
  void configure(const std::string& text) const { folder_.write("pagehost/pagehost.conf", text); }
  void refuses(const std::vector<std::string>& arguments, const std::string& problem) const {
    EXPECT_EXIT(taken(arguments), testing::ExitedWithCode(2), problem);
  }

  const test_support::TemporaryFolder folder_;
};

std::string variable(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "none";
}

TEST_F(ProgramOptionsTest, OptionsGoBeforeTheEnvironmentAndThatBeforeFiles) {
  configure("[pagehost]\n# a panel\nsize=800x480\nchrome=file:///a\nzoom=2\nkiosk=true\n");
  inOwnProcess([&] {
    for (const char* name : {"WIDTH", "HEIGHT", "PAGEHOST_ZOOM"}) ::unsetenv(name);
    ::setenv("CHROME_URL", "file:///b", 1);
    ::setenv("PAGEHOST_KIOSK", "0", 1);
    EXPECT_EQ(taken({"a", "--zoom=1.5", "b", "--", "--zoom"}), "pagehost a b --zoom ");
    EXPECT_EQ(variable("WIDTH") + "x" + variable("HEIGHT"), "800x480");
    EXPECT_EQ(variable("CHROME_URL"), "file:///b");
    EXPECT_EQ(variable("PAGEHOST_ZOOM"), "1.5");
    EXPECT_FALSE(isSwitchedOn(kioskVariable)) << "the environment has switched it off";
    taken({"--kiosk", "--chrome", "file:///\xc3\xa4"});
    EXPECT_TRUE(isSwitchedOn(kioskVariable));
    EXPECT_EQ(variable("CHROME_URL"), "file:///\xc3\xa4") << "whatever the locale";
    // Another file replaces the user's.
    ::unsetenv("CHROME_URL");
    folder_.write("other.conf", "[pagehost]\nprofile=shop\n");
    taken({"--config", (folder_.path() / "other.conf").string()});
    EXPECT_EQ(variable("PAGEHOST_PROFILE") + variable("CHROME_URL"), "shopnone");
    leaveUnknownOptions();
    EXPECT_EQ(taken({"--zoom=3", "--own=1", "-x", "y"}), "pagehost --own=1 -x y ");
    EXPECT_EQ(variable("PAGEHOST_ZOOM"), "3");
  });
}

TEST_F(ProgramOptionsTest, AChromeIsAnAddressOrAFolder) {
  folder_.write("board/index.html", "");
  const std::string board = (folder_.path() / "board").string();
  inOwnProcess([&] {
    taken({"--dev", board});
    EXPECT_EQ(variable("CHROME_URL"), "local://app/index.html");
    EXPECT_EQ(variable(chromeFolderVariable), std::filesystem::canonical(board));
    EXPECT_TRUE(isSwitchedOn(devVariable));
    taken({"--chrome", "https://example.org/"});
    EXPECT_EQ(variable("CHROME_URL") + variable(chromeFolderVariable), "https://example.org/none");
    taken({"new", "x", "--template=tabs"});
    EXPECT_EQ(wantedChrome().folder + wantedChrome().templateName, "xtabs");
  });
  refuses({"--dev", folder_.path().string()}, "--dev: .* is not a folder with an index.html");
  refuses({"--chrome", "/nowhere"}, "--chrome");
  refuses({"--template=tabs"}, "--template is for");
  refuses({"new", "a", "b"}, "one folder");
}

TEST_F(ProgramOptionsTest, OnlyTheOptionLetsWebDriverIn) {
  configure("[pagehost]\nzoom=2\n");
  inOwnProcess([&] {
    const auto taking = [&](const char* address, const std::vector<std::string>& arguments) {
      ::setenv(automationAddressVariable, address, 1);
      ::setenv("PAGEHOST_AUTOMATION", "chrome", 1);
      taken(arguments);
      EXPECT_EQ(variable(automationAddressVariable), "none") << "children would inherit it";
      return automationOrder();
    };
    ::unsetenv("PAGEHOST_ZOOM");
    EXPECT_EQ(taking("127.0.0.1:8", {"--automation"}).mode, AutomationMode::Pages);
    EXPECT_EQ(variable("PAGEHOST_ZOOM"), "none") << "nothing of the user's";
    EXPECT_EQ(automationOrder().address, "127.0.0.1:8");
    EXPECT_EQ(taking("127.0.0.1:8", {"--automation=chrome"}).mode, AutomationMode::Chrome);
    EXPECT_EQ(taking("127.0.0.1:8", {}).mode, AutomationMode::Off);
  });
  ::setenv(automationAddressVariable, "0.0.0.0:8", 1);
  refuses({"--automation"}, "0.0.0.0:8");
  ::setenv(automationAddressVariable, "127.0.0.1", 1);
  refuses({"--automation"}, "with a port");
  ::setenv(automationAddressVariable, "127.0.0.1:8", 1);
  refuses({"--automation=pages"}, "\"pages\" is not chrome");
  ::unsetenv(automationAddressVariable);
  refuses({"--automation"}, "WebKitWebDriver sets it");
  configure("[pagehost]\nautomation=chrome\n");
  refuses({}, "no key \"automation\"");
}

TEST_F(ProgramOptionsTest, MistakesEndTheStartAndSayWhere) {
  refuses({"--kiosc"}, "kiosc");
  refuses({"--zoom"}, "zoom");
  refuses({"--size=800"}, "--size: \"800\" is not two numbers");
  refuses({"--profile=../x"}, "--profile");
  refuses({"--chrome", ""}, "--chrome");
  refuses({"--config=/nowhere"}, "/nowhere");
  for (const auto& [text, problem] :
       {std::pair("[pagehost]\n\nkiosc=true\n", "conf:3: there is no"),
        {"[pagehost]\nzoom=9\n", "conf:2: \"9\" is not a number"},
        {"[pagehost]\nzoom=1\nzoom 2\n", "conf:3: "},
        {"[pagehost]\nchrome=file:///a\\qb\n", "conf:2: "},
        {"[pagehost]\n[other]\n", "conf:2: the only group"}}) {
    configure(text);
    refuses({}, problem);
  }
}

}  // namespace
