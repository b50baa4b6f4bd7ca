// What has come of a file that is being downloaded, for as long as the rest may still come. Main
// thread.
#pragma once

#include "platform/base/UniqueFd.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

// A file beside its destination, whose name has ".part" behind it. It is deleted with this object,
// unless it has become the destination.
class PartFile {
 public:
  // A second name of the file that the engine writes, which goes on when the engine deletes its
  // own. Null where the file is not there, or its file system has no second names.
  static std::unique_ptr<PartFile> sharedWith(const std::string& file,
                                              const std::string& destination);
  ~PartFile();
  PartFile(const PartFile&) = delete;
  PartFile& operator=(const PartFile&) = delete;

  std::uint64_t size() const;
  // False when the disk does not take it.
  bool writeAt(std::uint64_t offset, std::string_view bytes);
  // Cuts it off there.
  bool truncate(std::uint64_t size);
  // Puts it in the place of the destination, and a file that is there. False when that cannot be.
  bool finish(const std::string& destination);

 private:
  PartFile(std::string path, Tessel::Platform::UniqueFd file);

  std::string path_;  // empty once it has become the destination
  Tessel::Platform::UniqueFd file_;
};
