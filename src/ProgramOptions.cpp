// The program's options, defined by one table. Main thread.
#include "src/ProgramOptions.h"

#include "platform/base/Log.h"
#include "platform/graphics/DisplayLimits.h"
#include "platform/invocation/Viewers.h"
#include "platform/options/CommandLine.h"
#include "platform/options/KeyFile.h"
#include "platform/os/PageSandbox.h"
#include "platform/os/Process.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

using Tessel::Platform::Configuration;
using Tessel::Platform::endMisused;
using Tessel::Platform::Option;

namespace {

constexpr std::size_t longestProfileName = 64;
constexpr int longestPause = 86400;  // seconds: one day

bool leavesUnknown = false;

bool isAddress(std::string_view text) {
  return g_uri_is_valid(std::string(text).c_str(), G_URI_FLAGS_PARSE_RELAXED, nullptr) != FALSE;
}

template <typename Number>
bool isNumberWithin(std::string_view text, Number lowest, Number highest) {
  Number number{};
  const auto [last, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && last == text.data() + text.size() && number >= lowest &&
         number <= highest;
}

bool isSize(std::string_view text) {
  constexpr int longest = Tessel::Platform::Graphics::longestSide;
  const std::size_t middle = text.find('x');
  return middle != std::string_view::npos && isNumberWithin(text.substr(0, middle), 1, longest) &&
         isNumberWithin(text.substr(middle + 1), 1, longest);
}

template <const auto& Words>
bool isOneOf(std::string_view text) {
  return std::find(std::begin(Words), std::end(Words), text) != std::end(Words);
}
constexpr std::string_view rotationWords[] = {"top_up", "left_up", "right_up"};
constexpr std::string_view sandboxWords[] = {"on", "off", "auto"};
constexpr std::string_view levelWords[] = {"error", "notice"};

constexpr auto isSwitch = Tessel::Platform::isSwitchText;

// The profile's name is used as a folder name.
bool isProfileName(std::string_view text) {
  return !text.empty() && text.size() <= longestProfileName && text[0] != '.' &&
         std::all_of(text.begin(), text.end(), [](char each) {
           return g_ascii_isalnum(each) || each == '.' || each == '-' || each == '_';
         });
}

bool isZoom(std::string_view text) {
  return isNumberWithin(text, 0.25, 5.0);
}
bool isPause(std::string_view text) {
  return isNumberWithin(text, 0, longestPause);
}

struct Row {
  Option option;
  // Two for a value with two parts.
  std::array<const char*, 2> variables;
  bool (*accepts)(std::string_view);
  const char* expected;
  // The readers of these variables accept any text: it is not validated.
  bool environmentIsFree = false;
};

constexpr Row rows[] = {
    {{"chrome", "URL", "The address of the chrome; else the bundled one."},
     {"CHROME_URL"},
     isAddress,
     "an address",
     true},
    {{"kiosk", nullptr,
      "The window has no border and fills the screen, also without a window manager."},
     {kioskVariable},
     isSwitch,
     "true or false"},
    {{"fullscreen", nullptr, "The window starts in full screen."},
     {fullscreenVariable},
     isSwitch,
     "true or false"},
    {{"size", "WIDTHxHEIGHT", "The size of the window in pixels; else 1280x800."},
     {"WIDTH", "HEIGHT"},
     isSize,
     "two numbers of pixels, such as 800x480",
     true},
    {{"rotation", "WORD", "How the device is held: top_up, left_up or right_up."},
     {"ROTATION"},
     isOneOf<rotationWords>,
     "top_up, left_up or right_up",
     true},
    {{"profile", "NAME",
      "Keeps cookies, storage and caches under this name; else for each chrome its own."},
     {profileVariable},
     isProfileName,
     "64 letters, digits, '.', '-' and '_' at most, and begins with no '.'"},
    {{"sandbox", "WORD", "What web pages are confined by: on, off or auto."},
     {Tessel::Platform::sandboxVariable},
     isOneOf<sandboxWords>,
     "on, off or auto",
     true},
    {{"zoom", "FACTOR", "How much larger the chrome is shown, from 0.25 to 5."},
     {zoomVariable},
     isZoom,
     "a number from 0.25 to 5"},
    {{"hide-pointer", "SECONDS",
      "Hides the mouse pointer while it has not moved for so long; 0 hides it always."},
     {hidePointerVariable},
     isPause,
     "a number of seconds up to a day"},
    {{"watchdog", nullptr,
      "Tells the service manager that the program has started, and goes on (systemd's notify)."},
     {watchdogVariable},
     isSwitch,
     "true or false"},
    {{"log-level", "WORD", "What is logged: error, or notice for everything."},
     {Tessel::Platform::logLevelVariable},
     isOneOf<levelWords>,
     "error or notice"},
};

// The file that was named, for viewers, which read it as well.
constexpr const char* configVariable = "PAGEHOST_CONFIG";

// Processed before all others; not a key of the configuration files.
constexpr Option configOption{
    "config", "FILE", "Reads this configuration file in place of the user's and the system's."};

constexpr auto programOptions = [] {
  std::array<Option, std::size(rows) + 1> options{};
  for (std::size_t i = 0; i < std::size(rows); ++i) options[i] = rows[i].option;
  options.back() = configOption;
  return options;
}();

const Tessel::Platform::ProgramText& programText() {
  static const Tessel::Platform::ProgramText text{
      "pagehost",
      "[ADDRESS...]",
      "Shows a chrome, a page of HTML that drives the program, in a window. The addresses are the "
      "chrome's to open.",
      programOptions,
      {{"configuration files",
        "~/.config/pagehost/pagehost.conf, then /etc/pagehost/pagehost.conf: a line [pagehost], "
        "and "
        "below it the names of options without dashes, as in zoom=1.5 or kiosk=true. The "
        "environment goes before them, and options before that.",
        {}},
       {"exit status",
        "",
        {{"0", "The window was closed, or the chrome ended the program."},
         {"1", "The program could not start, or lost its display."},
         {"2", "An option, a variable or a configuration file is wrong."},
         {"3", "The process of the chrome has ended ten times within ten minutes."}}}}};
  return text;
}

const Row* rowNamed(std::string_view name) {
  const auto found = std::find_if(std::begin(rows), std::end(rows),
                                  [&](const Row& row) { return row.option.name == name; });
  return found == std::end(rows) ? nullptr : found;
}

void check(const Row& row, std::string_view value, const std::string& place) {
  if (row.accepts(value)) return;
  endMisused("pagehost", place + ": \"" + std::string(value) + "\" is not " + row.expected);
}

void set(const Row& row, std::string_view value) {
  const std::size_t middle = row.variables[1] ? value.find('x') : std::string_view::npos;
  ::setenv(row.variables[0], std::string(value.substr(0, middle)).c_str(), 1);
  if (middle != std::string_view::npos) {
    ::setenv(row.variables[1], std::string(value.substr(middle + 1)).c_str(), 1);
  }
}

Configuration readConfigured() {
  Configuration configuration;
  const char* file = std::getenv(configVariable);
  std::string problem;
  if (!Tessel::Platform::readConfigurations(file ? file : "", "pagehost.conf", "pagehost",
                                            configuration, problem)) {
    endMisused("pagehost", problem);
  }
  for (const auto& [key, value] : configuration) {
    const Row* row = rowNamed(key);
    if (!row) endMisused("pagehost", value.place + ": there is no key \"" + key + "\"");
    check(*row, value.text, value.place);
  }
  // A viewer is the bundled chrome, whatever the application that has opened it is.
  if (std::getenv(Tessel::Platform::Viewers::openerVariable)) configuration.erase("chrome");
  return configuration;
}

bool isInEnvironment(const Row& row) {
  return std::any_of(row.variables.begin(), row.variables.end(),
                     [](const char* name) { return name && std::getenv(name); });
}

}  // namespace

std::vector<char*> takeOptions(int argc, char** argv) {
  Tessel::Platform::ProgramText text = programText();
  text.unknownAreWords = leavesUnknown;
  const auto line = Tessel::Platform::readCommandLine(text, argc, argv);
  std::array<std::optional<std::string>, std::size(rows)> given;
  for (const auto& [option, value] : line.options) {
    const Row* row = rowNamed(option->name);
    if (!row) {
      ::setenv(configVariable, value.c_str(), 1);
      continue;
    }
    const std::string& text = option->value ? value : std::string("1");
    check(*row, text, std::string("--") + option->name);
    given[static_cast<std::size_t>(row - rows)] = text;
  }
  const Configuration configuration = readConfigured();
  for (const Row& row : rows) {
    const auto& option = given[static_cast<std::size_t>(&row - rows)];
    const auto configured = configuration.find(row.option.name);
    if (option) {
      set(row, *option);
    } else if (isInEnvironment(row)) {
      if (!row.environmentIsFree) check(row, std::getenv(row.variables[0]), row.variables[0]);
    } else if (configured != configuration.end()) {
      set(row, configured->second.text);
    }
  }
  Tessel::Platform::setupApplicationLogging(Tessel::Platform::processName());
  return line.words;
}

void leaveUnknownOptions() {
  leavesUnknown = true;
}

bool isSwitchedOn(const char* variable) {
  const char* value = std::getenv(variable);
  return value && Tessel::Platform::isSwitchedOnText(value);
}
