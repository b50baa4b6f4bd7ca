// The launch request, for the server and its clients. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>

// The path of the launcher server, and its command.
constexpr const char* launcherPath = "/dev/webkit";
constexpr std::uint32_t launchCommand = 0xc0040502;
// Queries how a launched process has ended: its 32-bit pid, answered with a LaunchEnd. ESRCH for a
// process not launched by the server, or one that ended before the last rememberedEnds.
constexpr std::uint32_t launchEndCommand = 0xc0080503;
constexpr std::size_t rememberedEnds = 1024;

struct LaunchEnd {
  std::int32_t ended;   // 0: running, 1: ended
  std::int32_t status;  // status of wait(2)
};
static_assert(sizeof(LaunchEnd) == 8);

// Queued by the server to the first requester when a child has ended; its value is the child's pid.
constexpr int childEndedSignal = 29;

// Maximum size of a requester's message in bytes, headers included.
constexpr std::uint32_t largestLaunchMessage = 4096;

// The header of a request, in the machine's byte order. It is followed by supplementary groups of
// 32 bits each, then by NUL-terminated strings: the arguments, the environment, and the working
// directory if the version is greater than 1. The answer is the new process's pid, 32 bits.
struct LauncherRequest {
  std::uint32_t version;
  std::uint32_t reserved[4];
  std::int32_t priority;  // 0 or less leaves it unchanged
  std::int32_t uid;
  std::int32_t gid;
  std::int32_t ngroups;
  std::int32_t argc;  // at least one
  std::int32_t envc;
};
static_assert(sizeof(LauncherRequest) == 44);
