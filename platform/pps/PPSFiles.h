// The files of objects, below one root folder: finding, reading, and replacing them. Any thread;
// several processes may do this at once.
//
// A reader needs no lock: a file's text is replaced as a whole. Writers lock the folder, so that
// none overwrites what another one has merged in meanwhile.
#pragma once

#include "platform/base/String.h"
#include "platform/base/UniqueFd.h"

#include <sys/types.h>

#include <chrono>
#include <string>
#include <system_error>

namespace Tessel::Platform {

// TESSEL_PPS_ROOT, or the folder "pps" among the user's data of the program.
std::string ppsRoot();

// Where an object's file is: its folder, open, and its name in there. For one use: the system tells
// that a folder was deleted only when nobody has it open any more.
struct PPSPlace {
  UniqueFd folder;
  std::string name;
};

// Finds the place of a path below the root folder. With makesFolders, the root and the folders on
// the way are made if need be. Slashes in front count for nothing. No symbolic link is followed,
// and a name that is empty or begins with a point is not permitted, so that no path leaves the
// root, and none meets the files that writers need.
std::error_code findPPSPlace(const std::string& root, const String& path, bool makesFolders,
                             PPSPlace& place);

// Makes an empty file if there is none; that there is one is an error with exclusive.
std::error_code makePPSFile(const PPSPlace& place, bool exclusive, mode_t permissions);
// Whether it may be written to, as far as its permissions go.
std::error_code checkPPSFileIsWritable(const PPSPlace& place);
// Everything but a plain file of a size that is permitted is an error.
std::error_code readPPSFile(const PPSPlace& place, std::string& text);

// Keeps other writers out of a folder, in this process and in others.
class PPSFolderLock {
 public:
  // Waits at most that long for whoever else has it; error() is ETIMEDOUT then.
  explicit PPSFolderLock(const PPSPlace& place,
                         std::chrono::milliseconds longestWait = std::chrono::seconds(3));
  // Pauses for a moment when others wait: who writes all the time would be the first each time.
  ~PPSFolderLock();
  PPSFolderLock(const PPSFolderLock&) = delete;
  PPSFolderLock& operator=(const PPSFolderLock&) = delete;

  std::error_code error() const { return error_; }

  // Replaces the file's text, and keeps its permissions; makes it anew, with those of a private
  // file, when it is not there. On failure it is as it was.
  std::error_code replace(const PPSPlace& place, const std::string& text) const;

 private:
  std::error_code acquire(std::chrono::milliseconds longestWait);

  UniqueFd folder_;
  std::error_code error_;
};

}  // namespace Tessel::Platform
