// The program's entry: set-up common to all roles, and the choice of the role by the program's
// name. Main thread.
#include "platform/base/Log.h"
#include "platform/os/Process.h"
#include "src/LauncherServer.h"
#include "src/PagehostMain.h"
#include "src/ProgramOptions.h"
#include "src/ServerOptions.h"

#include <csignal>
#include <cstring>

extern const char* __progname;

int main(int argc, char** argv) {
  // Ignored: writing to a closed peer fails with an error instead.
  std::signal(SIGPIPE, SIG_IGN);
  Tessel::Platform::rememberArguments(argc, argv);
  const bool isApplication = std::strcmp(__progname, "pagehost") == 0;
  Tessel::Platform::setupApplicationLogging(__progname);
  Tessel::Platform::traceStart("libraries linked");
  if (isApplication) pagehost_main(argc, argv);
  const LauncherConfiguration configuration = takeServerOptions(argc, argv);
  leaveUnknownOptions();
  prepareApplications();
  launcherServerMain(pagehost_main, configuration);
}
