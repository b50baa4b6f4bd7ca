// The process that forks child processes for web views. It is forked first thing at program start,
// so that its children inherit no unusable state. Start-up thread; the launcher has one thread.
#pragma once

#include <sys/types.h>

#include <cstdint>

// The launch pipe's record, one per child: a single write in the machine's byte order.
struct LaunchRecord {
  std::uint64_t handshakeKey;
  std::uint32_t groupId;
  std::int32_t mainChannelId;
  std::int32_t webEngineChannelId;
  std::uint32_t padding;
};
static_assert(sizeof(LaunchRecord) == 24);

// The launch pipe's write end: in the main process, once the launcher runs; -1 everywhere else.
// Close-on-exec.
extern int launchPipeFd;

// The child's main function, called with its record's fields and the main process's pid; returns
// the exit status.
using ChildWebViewMain = int (*)(unsigned int groupId, int parentPid, int mainChannelId,
                                 int webEngineChannelId, unsigned long long handshakeKey);

// The launcher's pid, the parent of every child; 0 if there is none.
pid_t childLauncherPid();

// Forks the launcher; call it before any other thread exists. False, with the reason logged, on
// failure. Does not return in the launcher and its children.
bool spawnChildLauncher(ChildWebViewMain childMain);
