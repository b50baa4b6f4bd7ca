// The launcher server with an application of the tests in the place of the real one.
#include "platform/base/Log.h"
#include "platform/os/Process.h"
#include "src/LauncherServer.h"
#include "tests/launcher/ProbeReport.h"

int main(int argc, char** argv) {
  Tessel::Platform::rememberArguments(argc, argv);
  Tessel::Platform::setupApplicationLogging("probe-server");
  launcherServerMain(test_support::reportMain);
}
