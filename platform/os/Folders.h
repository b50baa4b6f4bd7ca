// The folders of the user that the program writes to. Any thread.
#pragma once

#include "platform/base/UniqueFd.h"

#include <sys/types.h>

#include <string>

namespace Tessel::Platform {

// The user's run-time folder of the program, for sockets: below $XDG_RUNTIME_DIR, or in /tmp where
// there is none. It is created if necessary, with mode 0700. Empty, with errno set, if it cannot be
// created or other users could access it: if it or its parent belongs to a user other than this one
// and root, or is writable by others without the sticky bit. The reason is logged once.
std::string runtimeFolder();

// Programs that were killed leave sockets and folders behind: removes the entries of a folder whose
// names are the prefix and then the number of a process that has ended.
void removeStaleFiles(const std::string& folder, const char* prefix);

// A process that has ended has left its entries in the run-time folder behind: those whose names
// are a word, "-", its number, and perhaps "-" and more. Removes them. Names of anything else have
// no "-" before a number.
void removeFilesOf(pid_t process);

// Removes a file, such as a socket, or an empty folder when this process ends by exit(3), or is
// told to. Not in processes that it has forked meanwhile.
void removeAtExit(const std::string& path);
// Likewise all in a folder whose names begin so, with what they hold.
void removeAtExit(const std::string& folder, const std::string& prefix);
// For processes that end by _exit(2).
void removeRegisteredFiles();

// A folder that holds what one process keeps between its runs, and the claim on it.
struct ClaimedFolder {
  std::string data;
  std::string cache;
  UniqueFd lock;  // other processes keep out while it is open
};

// The data and cache folders of that name, with mode 0700 and made if need be, or, while another
// process has them, of that name with
// "-2", "-3" and so on. On failure the lock is -1 and errno tells.
ClaimedFolder claimDataFolder(const std::string& name);

}  // namespace Tessel::Platform
