// The process that forks child web view processes: itself forked first thing in the program's
// start, it has touched nothing that a child could not share. Start-up thread; the launcher has one
// thread.
#pragma once

#include <sys/types.h>

#include <cstdint>

// What the main process writes into the launch pipe for each child: one write, read back whole, in
// the machine's byte order.
struct LaunchRecord {
  std::uint64_t handshakeKey;
  std::uint32_t groupId;
  std::int32_t mainChannelId;
  std::int32_t webEngineChannelId;
  std::uint32_t padding;
};
static_assert(sizeof(LaunchRecord) == 24);

// Where launch records are written: in the main process, once the launcher is there; -1 everywhere
// else. Close-on-exec.
extern int launchPipeFd;

// What a child runs, with its record's fields and the main process's pid; the result is its exit
// status.
using ChildWebViewMain = int (*)(unsigned int groupId, int parentPid, int mainChannelId,
                                 int webEngineChannelId, unsigned long long handshakeKey);

// The launcher's process, the parent of every child; 0 where there is none.
pid_t childLauncherPid();

// Forks the launcher; before any other thread exists. False, and the log says why, when it cannot
// be. In the launcher and in its children it does not return.
bool spawnChildLauncher(ChildWebViewMain childMain);
