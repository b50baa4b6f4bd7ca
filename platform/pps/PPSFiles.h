// The files of objects below a root folder: lookup, reading, replacement. Any thread, and several
// processes concurrently.
//
// Readers need no lock: a file is replaced atomically. Writers lock the folder, so that none
// overwrites what another one has merged in between.
#pragma once

#include "platform/base/String.h"
#include "platform/base/UniqueFd.h"

#include <sys/types.h>

#include <chrono>
#include <string>
#include <system_error>

namespace Tessel::Platform {

// TESSEL_PPS_ROOT, or the folder "pps" in the program's user data.
std::string ppsRoot();

// The location of an object's file: its open folder, and its name there. For a single use: inotify
// reports a deleted folder only once nobody has it open.
struct PPSPlace {
  UniqueFd folder;
  std::string name;
};

// Resolves a path below the root folder. With makesFolders, the root and intermediate folders are
// created as needed. Leading slashes are ignored. Symbolic links are not followed, and names that
// are empty or begin with a dot are rejected, so that no path leaves the root or reaches the
// writers' own files.
std::error_code findPPSPlace(const std::string& root, const String& path, bool makesFolders,
                             PPSPlace& place);

// Creates an empty file unless it exists, which with exclusive is an error.
std::error_code makePPSFile(const PPSPlace& place, bool exclusive, mode_t permissions);
// Whether its permissions allow writing.
std::error_code checkPPSFileIsWritable(const PPSPlace& place);
// Anything but a regular file within the size limit is an error.
std::error_code readPPSFile(const PPSPlace& place, std::string& text);

// Locks a folder against other writers, of this process and of others.
class PPSFolderLock {
 public:
  // Waits at most that long for the lock; error() is ETIMEDOUT then.
  explicit PPSFolderLock(const PPSPlace& place,
                         std::chrono::milliseconds longestWait = std::chrono::seconds(3));
  // Pauses briefly if others are waiting; otherwise a continuous writer would always win.
  ~PPSFolderLock();
  PPSFolderLock(const PPSFolderLock&) = delete;
  PPSFolderLock& operator=(const PPSFolderLock&) = delete;

  std::error_code error() const { return error_; }

  // Replaces the file's text and keeps its permissions; creates it, private, if it does not exist.
  // On failure it is unchanged.
  std::error_code replace(const PPSPlace& place, const std::string& text) const;

 private:
  std::error_code acquire(std::chrono::milliseconds longestWait);

  UniqueFd folder_;
  std::error_code error_;
};

}  // namespace Tessel::Platform
