// The program's options, defined by one table. Main thread.
#include "src/ProgramOptions.h"

#include "platform/base/Log.h"
#include "platform/graphics/DisplayLimits.h"
#include "platform/invocation/Viewers.h"
#include "platform/options/CommandLine.h"
#include "platform/options/KeyFile.h"
#include "platform/os/PageSandbox.h"
#include "platform/os/Process.h"

#include <gio/gio.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
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
// Mebibytes. An empty page takes half of the smallest.
constexpr unsigned int smallestMemory = 64;
constexpr unsigned int largestMemory = 1u << 20;

bool leavesUnknown = false;

bool isAddress(std::string_view text) {
  return g_uri_is_valid(std::string(text).c_str(), G_URI_FLAGS_PARSE_RELAXED, nullptr) != FALSE;
}

// A folder with a chrome in it; empty for everything else.
std::string chromeFolder(std::string_view text) {
  char resolved[PATH_MAX];
  if (isAddress(text) || !::realpath(std::string(text).c_str(), resolved)) return {};
  const bool hasPage =
      g_file_test((std::string(resolved) + "/index.html").c_str(), G_FILE_TEST_IS_REGULAR);
  return hasPage ? resolved : "";
}

bool isChrome(std::string_view text) {
  return isAddress(text) || !chromeFolder(text).empty();
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

bool isMemory(std::string_view text) {
  return isNumberWithin(text, smallestMemory, largestMemory);
}

constexpr const char* chromeVariable = "CHROME_URL";

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
    {{"chrome", "URL|DIR",
      "The chrome: its address, or a folder with an index.html; else the bundled one."},
     {chromeVariable},
     isChrome,
     "an address or a folder with an index.html",
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
    {{"memory-limit", "MIB",
      "What all processes together may take, in mebibytes: above it, pages that take most are "
      "started anew."},
     {memoryVariable},
     isMemory,
     "a number of mebibytes from 64 on"},
    {{"web-process-memory-limit", "MIB",
      "What each process of web pages may take, in mebibytes: above it, its pages are started "
      "anew."},
     {webProcessMemoryVariable},
     isMemory,
     "a number of mebibytes from 64 on"},
    {{"watchdog", nullptr,
      "Tells the service manager that the program has started, and goes on (systemd's notify)."},
     {watchdogVariable},
     isSwitch,
     "true or false"},
    {{"log-level", "WORD", "What is logged: error, notice, or trace for the steps of a start too."},
     {Tessel::Platform::logLevelVariable},
     isOneOf<Tessel::Platform::logLevelWords>,
     "error, notice or trace"},
    {{"allow-eval", nullptr, "Lets pagehost-ctl run scripts in pages."},
     {allowEvalVariable},
     isSwitch,
     "true or false"},
    {{"new", nullptr,
      "Starts another program also where one with the same profile runs; else that one is given "
      "the "
      "addresses."},
     {newVariable},
     isSwitch,
     "true or false"},
};

// The file that was named, for viewers, which read it as well.
constexpr const char* configVariable = "PAGEHOST_CONFIG";

WantedChrome wanted;

// Not keys of the configuration files: they are about one start.
struct Special {
  Option option;
  void (*take)(const std::string& value);
};
void takeConfig(const std::string& file);
void takeDevelopment(const std::string& folder);
void takeTemplate(const std::string& name);
void takeAutomation(const std::string& what);
constexpr Special specials[] = {
    {{"config", "FILE", "Reads this configuration file in place of the user's and the system's."},
     takeConfig},
    {{"dev", "DIR",
      "Shows the chrome in this folder to its developer: loads it again when a file changes, keeps "
      "its web views, prints its console, shows its errors, and starts the web inspector."},
     takeDevelopment},
    {{"template", "NAME",
      "Of new: kiosk, signage, dashboard, tabs or blank, which is the default."},
     takeTemplate},
    // It opens a port.
    {{"automation", "chrome",
      "Lets WebDriver clients drive the pages, or also the chrome, without the user's data; "
      "WebKitWebDriver says at which loopback port by WEBKIT_INSPECTOR_SERVER.",
      true},
     takeAutomation},
};

constexpr auto programOptions = [] {
  std::array<Option, std::size(rows) + std::size(specials)> options{};
  auto* next = options.begin();
  for (const Row& row : rows) *next++ = row.option;
  for (const Special& special : specials) *next++ = special.option;
  return options;
}();

AutomationOrder automation;
// The value of its option, if that was given.
std::optional<std::string> wantedAutomation;

const Tessel::Platform::ProgramText& programText() {
  static const Tessel::Platform::ProgramText text{
      "pagehost",
      "[ADDRESS...] | new DIR",
      "Shows a chrome, a page of HTML that drives the program, in a window. The addresses are the "
      "chrome's to open.",
      programOptions,
      {{"commands",
        "",
        {{"new DIR [--template NAME]",
          "Writes a chrome of your own into a new folder, with typings, a test, a unit of systemd "
          "and a README, and ends. \"pagehost --dev DIR\" shows it."}}},
       {"configuration files",
        "~/.config/pagehost/pagehost.conf, then /etc/pagehost/pagehost.conf: a line [pagehost], "
        "and "
        "below it the names of options without dashes, as in zoom=1.5 or kiosk=true. The "
        "environment goes before them, and options before that.",
        {}},
       {"exit status",
        "",
        {{"0",
          "The window was closed, the chrome ended the program, or a running one has taken the "
          "addresses."},
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
  if (row.variables[0] == chromeVariable) {
    const std::string folder = chromeFolder(value);
    if (folder.empty()) {
      ::unsetenv(chromeFolderVariable);
    } else {
      ::setenv(chromeFolderVariable, folder.c_str(), 1);
      value = "local://app/index.html";
    }
  }
  const std::size_t middle = row.variables[1] ? value.find('x') : std::string_view::npos;
  ::setenv(row.variables[0], std::string(value.substr(0, middle)).c_str(), 1);
  if (middle != std::string_view::npos) {
    ::setenv(row.variables[1], std::string(value.substr(middle + 1)).c_str(), 1);
  }
}

// Whether HOST:PORT is a port of this machine that no other machine reaches.
bool isLoopbackAddress(const std::string& address) {
  GError* error = nullptr;
  GSocketConnectable* const place = g_network_address_parse(address.c_str(), 0, &error);
  if (!place) {
    g_error_free(error);
    return false;
  }
  auto* const network = G_NETWORK_ADDRESS(place);
  GInetAddress* host = g_inet_address_new_from_string(g_network_address_get_hostname(network));
  const bool isGood =
      host && g_inet_address_get_is_loopback(host) && g_network_address_get_port(network) != 0;
  g_clear_object(&host);
  g_object_unref(place);
  return isGood;
}

// What has been asked for by the option, whose value it is if it was given.
AutomationOrder automationFrom(const std::optional<std::string>& option, std::string address) {
  if (!option) return {};
  if (!option->empty() && *option != "chrome") {
    endMisused("pagehost", "--automation: \"" + *option + "\" is not chrome");
  }
  if (!isLoopbackAddress(address)) {
    endMisused("pagehost",
               "--automation: WEBKIT_INSPECTOR_SERVER is \"" + address +
                   "\", and not a loopback address with a port: WebKitWebDriver sets it");
  }
  return {option->empty() ? AutomationMode::Pages : AutomationMode::Chrome, std::move(address)};
}

Configuration readConfigured() {
  Configuration configuration;
  const char* file = std::getenv(configVariable);
  std::string problem;
  if (!Tessel::Platform::readConfigurations(file ? file : "", "pagehost.conf", "pagehost",
                                            automation.mode == AutomationMode::Off, configuration,
                                            problem)) {
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

void takeConfig(const std::string& file) {
  ::setenv(configVariable, file.c_str(), 1);
}

void takeDevelopment(const std::string& folder) {
  if (chromeFolder(folder).empty()) {
    endMisused("pagehost", "--dev: \"" + folder + "\" is not a folder with an index.html");
  }
  ::setenv(devVariable, "1", 1);
}

void takeTemplate(const std::string& name) {
  wanted.templateName = name;
}

void takeAutomation(const std::string& what) {
  wantedAutomation = what;
}

// Reads "new DIR" from the words that are left.
void takeCommand(const std::vector<char*>& words) {
  const std::size_t count = words.size() - 2;  // without the program's name and the null
  const bool isNew = count > 0 && !leavesUnknown && std::strcmp(words[1], "new") == 0;
  if (!isNew && !wanted.templateName.empty()) {
    endMisused("pagehost", "--template is for \"pagehost new DIR\"");
  }
  if (!isNew) return;
  if (count != 2 || !*words[2]) endMisused("pagehost", "new: one folder is needed");
  wanted.folder = words[2];
  if (wanted.templateName.empty()) wanted.templateName = "blank";
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
  wantedAutomation.reset();
  for (const auto& [option, value] : line.options) {
    const Row* row = rowNamed(option->name);
    if (!row) {
      const std::string_view name = option->name;
      const auto* special =
          std::find_if(std::begin(specials), std::end(specials),
                       [&](const Special& each) { return each.option.name == name; });
      special->take(value);
      // The folder is the chrome as well.
      if (special->take != takeDevelopment) continue;
      row = rowNamed("chrome");
      given[static_cast<std::size_t>(row - rows)] = value;
      continue;
    }
    const std::string& text = option->value ? value : std::string("1");
    check(*row, text, std::string("--") + option->name);
    given[static_cast<std::size_t>(row - rows)] = text;
  }
  const auto isGiven = [&](std::string_view name) {
    return std::any_of(line.options.begin(), line.options.end(),
                       [&](const auto& each) { return each.option->name == name; });
  };
  if (isGiven("dev") && isGiven("chrome")) {
    endMisused("pagehost", "--dev and --chrome name the chrome both: one of them can stay");
  }
  const char* const address = std::getenv(automationAddressVariable);
  automation = automationFrom(wantedAutomation, address ? address : "");
  ::unsetenv(automationAddressVariable);
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
  takeCommand(line.words);
  return line.words;
}

const AutomationOrder& automationOrder() {
  return automation;
}

const WantedChrome& wantedChrome() {
  return wanted;
}

void leaveUnknownOptions() {
  leavesUnknown = true;
}

unsigned int memoryLimit(const char* variable) {
  const char* const value = std::getenv(variable);
  return value ? static_cast<unsigned int>(std::strtoul(value, nullptr, 10)) : 0;
}

bool isLaunchedApplication() {
  return leavesUnknown;
}

bool isSwitchedOn(const char* variable) {
  const char* value = std::getenv(variable);
  return value && Tessel::Platform::isSwitchedOnText(value);
}
