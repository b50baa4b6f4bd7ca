// The application process, from the first setting to the exit status. Main thread.
#include "src/PagehostMain.h"

#include "bindings/ApplicationBinding.h"
#include "bindings/CapabilitiesBinding.h"
#include "bindings/CclBinding.h"
#include "bindings/InvocationBinding.h"
#include "bindings/PPSBinding.h"
#include "bindings/RememberedBinding.h"
#include "bindings/WindowAnimations.h"
#include "engine/webkit/inspector/EngineInspector.h"
#include "ipc/ChildLauncher.h"
#include "ipc/CookieExchange.h"
#include "ipc/IPCSenderGroup.h"
#include "platform/base/Crash.h"
#include "platform/base/ErrorReport.h"
#include "platform/base/Log.h"
#include "platform/desktop/NavigatorHandler.h"
#include "platform/graphics/gtk/GtkWindowSystem.h"
#include "platform/graphics/gtk/PointerHiding.h"
#include "platform/graphics/gtk/ToolkitEnds.h"
#include "platform/inspector_server/MongooseHttpServer.h"
#include "platform/loop/MessageClient.h"
#include "platform/os/PageSandbox.h"
#include "platform/os/Settings.h"
#include "registry/BindingManager.h"
#include "src/ApplicationWindow.h"
#include "src/ChildWebViewMain.h"
#include "src/ChildWindows.h"
#include "src/ChromeCapabilities.h"
#include "src/DataFolders.h"
#include "src/Development.h"
#include "src/EngineStart.h"
#include "src/MemoryWatch.h"
#include "src/NavigatorServices.h"
#include "src/NewChrome.h"
#include "src/ProgramOptions.h"
#include "src/RemoteControl.h"
#include "src/SingleInstance.h"
#include "src/Watchdog.h"
#include "webview/WebView.h"
#include "webview/WebViewManager.h"
#include "webview/commands/CommandTable.h"

#include <fontconfig/fontconfig.h>
#include <glib-unix.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::LogNotice;
using Tessel::Platform::MainMessageClient;
using Tessel::Platform::MongooseHttpServer;
using Tessel::Platform::platformCrash;
using Tessel::Platform::Settings;
using Tessel::Platform::String;
using Tessel::Platform::traceStart;
using Tessel::Platform::Graphics::GtkWindowSystem;
using Tessel::Platform::Graphics::WindowSystem;

namespace {

constexpr const char* pluginDirectory = "/usr/lib/vireo/plugins/";

// Interval for dismissing dialogs during shutdown, in milliseconds.
constexpr unsigned int dismissInterval = 100;

// Shuts down as if the window had been closed. Only once: the next signal kills a program whose
// pages do not close. Toolkit dialogs, also later ones, are dismissed, so that nobody keeps waiting
// for an answer.
gboolean onEndSignal(gpointer) {
  g_timeout_add(
      dismissInterval,
      [](gpointer) -> gboolean {
        Tessel::Platform::Graphics::dismissDialogs();
        return G_SOURCE_CONTINUE;
      },
      nullptr);
  ApplicationWindow::instance().close();
  return G_SOURCE_REMOVE;
}

void setKeyboardFocus(int value) {
  ApplicationWindow::instance().setKeyboardFocus(value);
}

}  // namespace

void prepareApplications() {
  registerCommands(BindingManager::instance());
  CclBinding::instance();
  FcInit();
  traceStart("fonts found");
}

void pagehost_main(int argc, char** argv) {
  std::vector<char*> arguments = takeOptions(argc, argv);
  if (!wantedChrome().folder.empty()) makeNewChrome(wantedChrome());
  const AutomationOrder& automation = automationOrder();
  const bool isAutomated = automation.mode != AutomationMode::Off;
  if (!isAutomated) claimProfile(arguments);
  // Launched applications have it all from the server. The caches of the fonts are found in the
  // user's folders.
  if (!isLaunchedApplication()) prepareApplications();
  if (isAutomated) useEphemeralFolders();
  ServiceManager serviceManager = ServiceManager::take();
  if (!spawnChildLauncher(childWebViewMain)) {
    logAlways(LogError, "Could not spawn child launcher");
    std::exit(EXIT_FAILURE);
  }
  traceStart("launcher of child processes forked");
  Settings& settings = Settings::instance();
  settings.setNumberOfBackingStoreFrontBuffers(0);
  settings.setChromeProcess(true);
  settings.setApplicationSandbox("chrome");

  Tessel::Platform::probeSandbox();
  traceStart("sandbox probed");
  auto* client = new MainMessageClient(3, -1);
  if (MainMessageClient::instance() != client) platformCrash("src/main", 40, "pagehost_main");

  disableSessionBusAutolaunch();
  prepareInspector(automation);
  auto windows = GtkWindowSystem::create();
  if (!windows) giveUp(noDisplay);
  WindowSystem::install(std::move(windows));
  traceStart("display connected");
  if (const char* seconds = std::getenv(hidePointerVariable)) {
    Tessel::Platform::Graphics::hidePointerAfter(std::atoi(seconds));
  }
  startEngine(settings.applicationSandbox(), true, automation);
  traceStart("engine started");
  shareCookiesWithChildren();
  MongooseHttpServer::instance()->setFrontEnd(EngineInspector::frontEndResources);

  ApplicationWindow& window = ApplicationWindow::instance();
  showWindowsOfChildren(window);
  IPCSenderGroup::installFactory();
  WebViewManager& manager = WebViewManager::instance();
  if (automation.mode == AutomationMode::Pages) {
    manager.keepInThisProcess("WebDriver clients drive the pages of this process alone");
  }
  Tessel::Platform::setErrorListener(
      [](const String& text) { WebViewManager::instance().informChromeOfLoggedError(text); });
  WebView* root = manager.webViewForHandle(
      manager.createWebView(window.windowGroup().toStdString(), WebViewManager::inThisProcess));
  if (!root) platformCrash("src/main", 51, "pagehost_main");

  const std::string chrome = chromeAddress();
  const char* chromeFolder = std::getenv(chromeFolderVariable);
  root->setArguments(static_cast<int>(arguments.size()) - 1, arguments.data());
  root->setDrivesApplication(
      chromeFolder ? "This is the folder that --chrome or --dev has named."
      : chrome != bundledChrome
          ? "This address comes from the environment variable CHROME_URL: correct it, or "
            "unset it to get the bundled chrome."
          : "The bundled chrome is missing: install it, or point TESSEL_LOCAL_ROOT at the "
            "folder that holds chrome/index.html.");
  root->enableNativeBindings(true);
  root->setEnablePlugins(true);
  root->setExtraPluginDirectory(pluginDirectory);
  root->setDevicePixelRatio(1.0);
  if (const char* factor = std::getenv(zoomVariable)) {
    root->animateToScaleAndDocumentScrollPosition(g_ascii_strtod(factor, nullptr), {});
  }
  root->loadURL(chrome);

  Tessel::Platform::NavigatorHandler::instance();
  const ApplicationBinding application(root, setKeyboardFocus);
  const InvocationBinding invocation(root);
  registerRememberedFunctions();
  registerCapabilityFunctions();
  PPSBinding::instance();
  WindowAnimations::instance();
  std::optional<NavigatorServices> services(window);
  std::optional<RemoteControl> control(window);

  std::optional<Development> development;
  if (chromeFolder && isSwitchedOn(devVariable)) development.emplace(*root, window, chromeFolder);

  // In time: no page runs before the loop does.
  root->setCapabilities(chromeCapabilities(chrome.c_str()));

  for (const int signal : {SIGTERM, SIGINT}) g_unix_signal_add(signal, onEndSignal, nullptr);
  std::optional<Watchdog> watchdog(std::in_place, std::move(serviceManager), *root);
  std::optional<MemoryWatch> memory;
  if (const unsigned int limit = memoryLimit(memoryVariable)) {
    memory.emplace(std::uint64_t{limit} << 20);
  }
  traceStart("main loop entered");
  const int status = client->run();
  memory.reset();
  watchdog.reset();
  development.reset();
  control.reset();
  services.reset();
  logAlways(LogNotice, "Exit %s: %d", argv[0], status);
  std::exit(status);
}
