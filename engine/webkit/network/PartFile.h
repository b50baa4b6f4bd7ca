// The received part of a file that is being downloaded, kept while the download may be resumed.
// Main thread.
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
  // A hard link to the file that the engine writes, which stays when the engine deletes its own.
  // Null where the file does not exist, or its file system has no hard links.
  static std::unique_ptr<PartFile> sharedWith(const std::string& file,
                                              const std::string& destination);
  ~PartFile();
  PartFile(const PartFile&) = delete;
  PartFile& operator=(const PartFile&) = delete;

  std::uint64_t size() const;
  // False when it cannot be written.
  bool writeAt(std::uint64_t offset, std::string_view bytes);
  // Truncates the file.
  bool truncate(std::uint64_t size);
  // Renames it to the destination, replacing an existing file. False on failure.
  bool finish(const std::string& destination);

 private:
  PartFile(std::string path, Tessel::Platform::UniqueFd file);

  std::string path_;  // empty once it has become the destination
  Tessel::Platform::UniqueFd file_;
};
