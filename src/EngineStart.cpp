// What every process with web views needs from its surroundings. Main thread.
#include "EngineStart.h"

#include "engine/webkit/WebKitEngine.h"
#include "platform/Folders.h"
#include "platform/Log.h"
#include "platform/Settings.h"

#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>

using Tessel::Platform::logAlways;
using Tessel::Platform::PageSandbox;

const char* const noDisplay =
    "There is no display to open a window on. Set DISPLAY to an X server that this user may use, "
    "or start the program with ./run, which brings one of its own.";

void giveUp(const std::string& problem) {
  logAlways(Tessel::Platform::LogError, "%s", problem.c_str());
  std::exit(EXIT_FAILURE);
}

void keepBusAway() {
  if (std::getenv("DBUS_SESSION_BUS_ADDRESS")) return;
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  struct stat status {};
  if (runtime && ::stat((std::string(runtime) + "/bus").c_str(), &status) == 0) return;
  ::setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);
}

void prepareInspector() {
  if (!EngineInspector::announce()) {
    logAlways(Tessel::Platform::LogError,
              "Pages of this process cannot be inspected: no random numbers.");
  }
}

namespace {

// A folder that the environment names; else the one beside the executable, which is how a build
// tree is laid out; else the installed one.
std::string folderFor(const char* variable, const char* besideExecutable, const char* installed) {
  const char* named = std::getenv(variable);
  if (named && *named) {
    char resolved[PATH_MAX];
    return ::realpath(named, resolved) ? resolved : named;
  }
  char executable[PATH_MAX];
  const ssize_t length = ::readlink("/proc/self/exe", executable, sizeof executable - 1);
  if (length > 0) {
    const std::string path(executable, static_cast<std::size_t>(length));
    std::string beside = path.substr(0, path.rfind('/') + 1) + besideExecutable;
    struct stat status {};
    if (::stat(beside.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) return beside;
  }
  return installed;
}

}  // namespace

void startEngine(const Tessel::Platform::String& dataName) {
  std::string problem;
  const std::string modules = folderFor("PAGEHOST_MODULE_PATH", "modules", PAGEHOST_MODULE_FOLDER);
  auto sandbox = PageSandbox::None;
  if (!choosePageSandbox({modules, Tessel::Platform::runtimeFolder()}, sandbox, problem)) {
    giveUp(problem);
  }
  logAlways(Tessel::Platform::LogNotice, "Sandbox of web pages: %s%s%s", textOf(sandbox),
            problem.empty() ? "" : ", for ", problem.c_str());
  Tessel::Platform::Settings::instance().setPageSandbox(sandbox);
  problem.clear();
  // Pages outlive every scope of ours, so the engine does as well.
  static WebKitEngine* engine =
      WebKitEngine::create({modules, folderFor("TESSEL_LOCAL_ROOT", "share", PAGEHOST_DATA_FOLDER),
                            dataName.toStdString(), sandbox},
                           problem)
          .release();
  if (!engine) giveUp(problem);
  PageFactory::install(engine);
}
