// The launcher server: a process that performs the slow part of a start once and forks
// applications, each running as the requested user. One thread.
#pragma once

#include "src/LaunchedProcess.h"

#include <sys/types.h>

// An id of 0 is left unchanged.
struct LauncherConfiguration {
  uid_t serverUser = 89;
  gid_t serverGroup = 214;
  uid_t lowestUser = 89;  // allowed for children
  gid_t lowestGroup = 0;
};

// Serves launch requests until terminated by a signal; exits with 1 on failure. Neither the
// toolkit, the engine nor threads may have been started: they would be unusable in the children, in
// which `application` is called.
[[noreturn]] void launcherServerMain(ApplicationMain application,
                                     const LauncherConfiguration& configuration = {});
