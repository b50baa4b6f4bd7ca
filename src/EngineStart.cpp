// Sets up the environment of processes with web views and starts the engine. Main thread.
#include "src/EngineStart.h"

#include "engine/webkit/WebKitEngine.h"
#include "engine/webkit/inspector/EngineInspector.h"
#include "platform/base/Log.h"
#include "platform/os/Folders.h"
#include "platform/os/Process.h"
#include "platform/os/Settings.h"
#include "src/DataFolders.h"
#include "src/ProgramOptions.h"

#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

using Tessel::Platform::logAlways;
using Tessel::Platform::PageSandbox;

const char* const noDisplay =
    "There is no display to open a window on. Set DISPLAY to an X server that this user may use, "
    "or start the program with ./run, which brings one of its own.";

void giveUp(const std::string& problem) {
  logAlways(Tessel::Platform::LogError, "%s", problem.c_str());
  logAlways(Tessel::Platform::LogError, "Exit %s: %d", Tessel::Platform::processName(),
            EXIT_FAILURE);
  std::exit(EXIT_FAILURE);
}

void disableSessionBusAutolaunch() {
  if (std::getenv("DBUS_SESSION_BUS_ADDRESS")) return;
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  struct stat status {};
  if (runtime && ::stat((std::string(runtime) + "/bus").c_str(), &status) == 0) return;
  ::setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);
}

void prepareInspector(const AutomationOrder& automation) {
  if (automation.mode != AutomationMode::Off) {
    EngineInspector::renounce();
    ::setenv(automationAddressVariable, automation.address.c_str(), 1);
    return;
  }
  if (!EngineInspector::announce()) {
    logAlways(Tessel::Platform::LogError,
              "Pages of this process cannot be inspected: no random numbers.");
  }
}

void useEphemeralFolders() {
  constexpr const char* prefix = "automation-";
  const std::string parent = Tessel::Platform::runtimeFolder();
  if (parent.empty()) giveUp("There is no run-time folder for the data of automated pages.");
  Tessel::Platform::removeStaleFiles(parent, prefix);
  const std::string name = prefix + std::to_string(::getpid()) + "-";
  std::string folder = parent + "/" + name + "XXXXXX";
  if (!::mkdtemp(folder.data())) giveUp("The data of automated pages have no place: " + folder);
  Tessel::Platform::removeAtExit(parent, name);
  for (const auto& [variable, part] :
       {std::pair("XDG_DATA_HOME", "/data"), std::pair("XDG_CACHE_HOME", "/cache")}) {
    ::setenv(variable, (folder + part).c_str(), 1);
  }
}

std::string applicationFolder() {
  const char* profile = std::getenv(profileVariable);
  if (profile && *profile) return std::string("profiles/") + profile + "/";
  std::string address = chromeIdentity();
  address.erase(std::min(address.find_first_of("?#"), address.size()));
  if (address == bundledChrome) return "";
  const auto scheme = address.find("://");
  std::string name = scheme == std::string::npos ? address : address.substr(scheme + 3);
  std::erase_if(name, [](unsigned char c) { return !g_ascii_isalnum(c) && c != '.' && c != '-'; });
  constexpr std::size_t longestName = 40;
  constexpr std::size_t digits = 16;  // of a checksum: distinguishes addresses with equal names
  gchar* const sum = g_compute_checksum_for_string(G_CHECKSUM_SHA256, address.c_str(), -1);
  std::string folder =
      "applications/" + name.substr(0, longestName) + "-" + std::string(sum, digits) + "/";
  g_free(sum);
  return folder;
}

void startEngine(const Tessel::Platform::String& dataName, bool keepsCookies,
                 const AutomationOrder& automation) {
  std::string problem;
  const std::string modules = moduleFolder();
  auto sandbox = PageSandbox::None;
  if (!choosePageSandbox({modules, Tessel::Platform::runtimeFolder()}, sandbox, problem)) {
    giveUp(problem);
  }
  logAlways(Tessel::Platform::LogNotice, "Sandbox of web pages: %s%s%s", textOf(sandbox),
            problem.empty() ? "" : ", for ", problem.c_str());
  Tessel::Platform::Settings::instance().setPageSandbox(sandbox);
  problem.clear();
  // Never destroyed: pages may outlive any scope.
  static WebKitEngine* engine =
      WebKitEngine::create(
          {modules, localRoots(), applicationFolder() + dataName.toStdString(), keepsCookies,
           sandbox, memoryLimit(webProcessMemoryVariable), automation.mode},
          problem)
          .release();
  if (!engine) giveUp(problem);
  PageFactory::install(engine);
  if (automation.mode == AutomationMode::Off) return;
  // The engine has read it: its other processes need not know.
  ::unsetenv(automationAddressVariable);
  if (!EngineInspector::listensAt(automation.address)) {
    giveUp("The engine does not listen at " + automation.address +
           " for WebDriver: perhaps the port is taken.");
  }
  logAlways(Tessel::Platform::LogNotice,
            "WebDriver clients may drive the %s: the engine listens at %s. Pages of this process "
            "cannot be inspected meanwhile.",
            automation.mode == AutomationMode::Chrome ? "chrome and its pages" : "pages",
            automation.address.c_str());
}
