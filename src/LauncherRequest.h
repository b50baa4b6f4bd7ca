// What a launch request holds, for the server that reads it and for who asks. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>

// The path that the launcher server serves, and its command.
constexpr const char* launcherPath = "/dev/webkit";
constexpr std::uint32_t launchCommand = 0xc0040502;
// Asks how a process that was launched has ended: its id in 32 bits, answered with a LaunchEnd.
// ESRCH for a process that is none of the server's, or one of its ends before the last
// rememberedEnds.
constexpr std::uint32_t launchEndCommand = 0xc0080503;
constexpr std::size_t rememberedEnds = 1024;

struct LaunchEnd {
  std::int32_t ended;   // 0: it still runs, 1: it has ended
  std::int32_t status;  // as wait(2) tells it
};
static_assert(sizeof(LaunchEnd) == 8);

// What the server queues to the first requester when a child has ended; its value is the child's
// process id.
constexpr int childEndedSignal = 29;

// A whole message of a requester, headers included, is no larger than this, in bytes.
constexpr std::uint32_t largestLaunchMessage = 4096;

// The beginning of a request, in the machine's byte order. Supplementary groups of 32 bits each
// follow, then strings that end with a NUL byte each: the arguments, the environment, and the
// working directory where the version is greater than 1. The answer is the new process's id, 32
// bits.
struct LauncherRequest {
  std::uint32_t version;
  std::uint32_t reserved[4];
  std::int32_t priority;  // 0 or less leaves it as it is
  std::int32_t uid;
  std::int32_t gid;
  std::int32_t ngroups;
  std::int32_t argc;  // the first argument is there in any case
  std::int32_t envc;
};
static_assert(sizeof(LauncherRequest) == 44);
