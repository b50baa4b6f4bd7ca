// The received part of a file that is being downloaded. Main thread.
#include "engine/webkit/network/PartFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <utility>

using Tessel::Platform::UniqueFd;

namespace {

constexpr int mostNames = 100;

}  // namespace

PartFile::PartFile(std::string path, UniqueFd file)
    : path_(std::move(path)), file_(std::move(file)) {}

PartFile::~PartFile() {
  if (!path_.empty()) ::unlink(path_.c_str());
}

std::unique_ptr<PartFile> PartFile::sharedWith(const std::string& file,
                                               const std::string& destination) {
  for (int number = 1; number <= mostNames; ++number) {
    std::string path = destination;
    if (number > 1) path.append(".").append(std::to_string(number));
    path.append(".part");
    if (::link(file.c_str(), path.c_str()) == 0) {
      UniqueFd opened(::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOFOLLOW));
      if (opened) return std::unique_ptr<PartFile>(new PartFile(path, std::move(opened)));
      ::unlink(path.c_str());
      return nullptr;
    }
    if (errno != EEXIST) return nullptr;
  }
  return nullptr;
}

std::uint64_t PartFile::size() const {
  struct stat facts {};
  return ::fstat(file_.get(), &facts) == 0 ? static_cast<std::uint64_t>(facts.st_size) : 0;
}

bool PartFile::writeAt(std::uint64_t offset, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count =
        ::pwrite(file_.get(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    offset += static_cast<std::uint64_t>(count);
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

bool PartFile::truncate(std::uint64_t size) {
  return ::ftruncate(file_.get(), static_cast<off_t>(size)) == 0;
}

bool PartFile::finish(const std::string& destination) {
  if (::rename(path_.c_str(), destination.c_str()) != 0) return false;
  path_.clear();
  return true;
}
