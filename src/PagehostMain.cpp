// The application process, from the first setting to the exit status. Main thread.
#include "PagehostMain.h"

#include "ApplicationWindow.h"
#include "engine/webkit/WebKitEngine.h"
#include "platform/Crash.h"
#include "platform/Log.h"
#include "platform/Settings.h"
#include "platform/graphics/gtk/GtkWindowSystem.h"
#include "platform/messages/MessageClient.h"
#include "webview/WebView.h"
#include "webview/WebViewManager.h"

#include <glib-unix.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::LogNotice;
using Tessel::Platform::MainMessageClient;
using Tessel::Platform::platformCrash;
using Tessel::Platform::Settings;
using Tessel::Platform::Graphics::GtkWindowSystem;
using Tessel::Platform::Graphics::WindowSystem;

namespace {

constexpr const char* pluginDirectory = "/usr/lib/vireo/plugins/";
constexpr const char* defaultChromeUrl = "local:///chrome/index.html";

// A start that cannot go on: says what to do about it, where a person and where a log looks.
[[noreturn]] void giveUp(const std::string& problem) {
  logAlways(LogError, "%s", problem.c_str());
  std::exit(EXIT_FAILURE);
}

// Without a session bus the toolkit starts one for each display, which outlives the program and
// keeps its descriptors open.
void keepBusAway() {
  if (std::getenv("DBUS_SESSION_BUS_ADDRESS")) return;
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  struct stat status {};
  if (runtime && ::stat((std::string(runtime) + "/bus").c_str(), &status) == 0) return;
  ::setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);
}

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

// Ends as if the window had been closed. Only once: the next signal ends a program whose pages do
// not.
gboolean onEndSignal(gpointer) {
  WebViewManager::instance().shutdown();
  return G_SOURCE_REMOVE;
}

void startEngine() {
  std::string problem;
  // Pages outlive every scope of ours, so the engine does as well.
  static WebKitEngine* engine =
      WebKitEngine::create({folderFor("PAGEHOST_MODULE_PATH", "modules", PAGEHOST_MODULE_FOLDER),
                            folderFor("TESSEL_LOCAL_ROOT", "share", PAGEHOST_DATA_FOLDER),
                            Settings::instance().applicationSandbox().toStdString()},
                           problem)
          .release();
  if (!engine) giveUp(problem);
  PageFactory::install(engine);
}

}  // namespace

void pagehost_main(int argc, char** argv) {
  Settings& settings = Settings::instance();
  settings.setNumberOfBackingStoreFrontBuffers(0);
  settings.setChromeProcess(true);
  settings.setApplicationSandbox("chrome");

  auto* client = new MainMessageClient(3, -1);
  if (MainMessageClient::instance() != client) platformCrash("src/main", 40, "pagehost_main");

  keepBusAway();
  auto windows = GtkWindowSystem::create();
  if (!windows) {
    giveUp(
        "There is no display to open a window on. Set DISPLAY to an X server that this user "
        "may use, or start the program with ./run, which brings one of its own.");
  }
  WindowSystem::install(std::move(windows));
  startEngine();

  ApplicationWindow& window = ApplicationWindow::instance();
  WebViewManager& manager = WebViewManager::instance();
  WebView* root = manager.webViewForHandle(
      manager.createWebView(window.windowGroup().toStdString(), WebViewManager::inThisProcess));
  if (!root) platformCrash("src/main", 51, "pagehost_main");

  const char* chromeUrl = std::getenv("CHROME_URL");
  root->setArguments(argc, argv);
  root->setDrivesApplication(
      chromeUrl ? "This address comes from the environment variable CHROME_URL: correct it, or "
                  "unset it to get the bundled chrome."
                : "The bundled chrome is missing: install it, or point TESSEL_LOCAL_ROOT at the "
                  "folder that holds chrome/index.html.");
  root->enableNativeBindings(true);
  root->setEnablePlugins(true);
  root->setExtraPluginDirectory(pluginDirectory);
  root->setDevicePixelRatio(1.0);
  root->loadURL(chromeUrl ? chromeUrl : defaultChromeUrl);

  for (const int signal : {SIGTERM, SIGINT}) g_unix_signal_add(signal, onEndSignal, nullptr);
  const int status = client->run();
  logAlways(LogNotice, "Exit %s: %d", argv[0], status);
  std::exit(status);
}
