// The launcher server: a process that has done what is slow in a start and forks applications which
// go on from there, each as the user who is asked for. One thread.
#pragma once

#include "src/LaunchedProcess.h"

#include <sys/types.h>

// 0 for an id leaves it alone.
struct LauncherConfiguration {
  uid_t serverUser = 89;
  gid_t serverGroup = 214;
  uid_t lowestUser = 89;  // that a child may become
  gid_t lowestGroup = 0;
};

// Serves launch requests until a signal ends it; exits with 1 when it cannot. Nothing of the
// toolkit, of the engine or of threads may have started: it would be broken in the children, in
// which `application` is called.
[[noreturn]] void launcherServerMain(ApplicationMain application,
                                     const LauncherConfiguration& configuration = {});
