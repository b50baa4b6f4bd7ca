// What the table says that commands do on the engine, against what they do. Main thread.
#include "Effect.h"
#include "tests/support/ChromeFixture.h"
#include "webview/commands/CommandMessages.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>

namespace {

// A text that the argument accepts.
template <typename T>
std::string sampleOf() {
  if constexpr (NamedEnumeration<T>) {
    return EnumerationNames<T>::table.names().front().name;
  } else if constexpr (fields::HasFields<T>) {
    return fields::textOf(T()).toStdString();
  } else {
    return "1";
  }
}

template <typename Arguments>
struct Samples;
template <typename... Args>
struct Samples<std::tuple<Args...>> {
  static std::vector<std::string> make() { return {sampleOf<Args>()...}; }
};

struct Described {
  std::string name;
  std::vector<std::string> arguments;
  Effect effect = Effect::Real;
};

std::vector<Described> describedCommands() {
  std::vector<Described> list;
#define COMMAND(number, name, ...) COMMAND_AS(number, name, name)
#define COMMAND_AS(number, name, operation, ...) \
  list.push_back({#name, Samples<commands::ShapeOf<&WebView::operation>::Arguments>::make()});
#define DOC(itsEffect, arguments, text) list.back().effect = Effect::itsEffect;
#include "webview/commands/Commands.def"
#undef DOC
#undef COMMAND_AS
#undef COMMAND
  return list;
}

// The settings that the engine's sources read, each by its getter.
std::set<std::string> settingsOfTheEngine() {
  static const std::regex use(R"((WebViewSetting::|[sS]ettings\(\)\.|settings\.|values\.)(\w+))");
  std::set<std::string> names;
  for (const auto& file : std::filesystem::directory_iterator(PAGEHOST_ENGINE_SOURCES)) {
    if (!file.is_regular_file()) continue;
    std::ifstream stream(file.path());
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    for (std::sregex_iterator it(text.begin(), text.end(), use), end; it != end; ++it) {
      names.insert((*it)[2]);
    }
  }
  return names;
}

TEST(CommandEffects, OnlyTheSettingsThatTheEngineReadsAreReal) {
  std::map<std::string, std::string> getters;  // by the names of the commands
#define SETTING(type, getter, setter, start, property) \
  getters[#getter] = getters[#setter] = #getter;
#include "engine/WebViewSettings.def"
#undef SETTING
  const std::set<std::string> used = settingsOfTheEngine();
  ASSERT_TRUE(used.contains("isLoadImages"));
  for (const Described& command : describedCommands()) {
    const auto getter = getters.find(command.name);
    if (getter == getters.end()) continue;
    EXPECT_EQ(command.effect == Effect::Real, used.contains(getter->second)) << command.name;
  }
}

class CommandEffectsTest : public test_support::ChromeFixture {};

TEST_F(CommandEffectsTest, CommandsThatAreNotRealReachNoPage) {
  const unsigned int handle = createWebView();
  webView(handle).setAllWebEventsEnabled(true);
  const auto itsPage = pageOf(handle);
  const std::string handleText = std::to_string(handle);
  const auto traces = [&] {
    return itsPage->trace.size() + itsPage->finds.size() + itsPage->answers.size() +
           itsPage->windows.size() + itsPage->posted.size() + itsPage->called.size() +
           static_cast<std::size_t>(itsPage->wantedEventChanges);
  };
  int called = 0;
  for (const Described& command : describedCommands()) {
    if (command.effect == Effect::Real) continue;
    const std::string name = "webview." + command.name;
    std::vector<const char*> arguments{name.c_str(), handleText.c_str()};
    for (const std::string& argument : command.arguments) arguments.push_back(argument.c_str());
    const std::size_t before = traces();
    callNative(arguments);
    EXPECT_EQ(traces(), before) << command.name;
    EXPECT_THAT(errors(), ::testing::IsEmpty()) << command.name;
    EXPECT_FALSE(itsPage->closed) << command.name;
    ++called;
  }
  EXPECT_GT(called, 50);
}

}  // namespace
