// The shared memory of a window's frames.
#include "platform/graphics/remote/FrameFile.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/vfs.h>

#include <utility>

namespace Tessel::Platform::Graphics::Remote {

namespace {

constexpr int lengthSeals = F_SEAL_SHRINK | F_SEAL_GROW;

// Without huge pages: a hugetlb file can be mapped and still fault on access.
bool isMemoryFile(int fd) {
  struct statfs system {};
  return ::fstatfs(fd, &system) == 0 && system.f_type == TMPFS_MAGIC;
}

}  // namespace

FrameFile::~FrameFile() {
  if (memory_) ::munmap(memory_, bytesFor(size_));
}

FrameFile::FrameFile(FrameFile&& other) noexcept
    : file_(std::move(other.file_)),
      size_(other.size_),
      memory_(std::exchange(other.memory_, nullptr)) {}

FrameFile& FrameFile::operator=(FrameFile&& other) noexcept {
  std::swap(file_, other.file_);
  std::swap(size_, other.size_);
  std::swap(memory_, other.memory_);
  return *this;
}

std::size_t FrameFile::bytesFor(IntSize size) {
  return static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height) * 4 * 2;
}

unsigned char* FrameFile::buffer(int index) const {
  return static_cast<unsigned char*>(memory_) + (index == 0 ? 0 : bytesFor(size_) / 2);
}

bool FrameFile::map(int protection) {
  void* memory = ::mmap(nullptr, bytesFor(size_), protection, MAP_SHARED, file_.get(), 0);
  if (memory == MAP_FAILED) return false;
  memory_ = memory;
  return true;
}

FrameFile FrameFile::create(IntSize size) {
  FrameFile made;
  if (size.width <= 0 || size.height <= 0) return made;
  made.size_ = size;
  made.file_.reset(::memfd_create("frames", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  if (!made.file_ || ::ftruncate(made.file_.get(), static_cast<off_t>(bytesFor(size))) != 0 ||
      ::fcntl(made.file_.get(), F_ADD_SEALS, lengthSeals | F_SEAL_SEAL) != 0 ||
      !made.map(PROT_READ | PROT_WRITE)) {
    return FrameFile();
  }
  return made;
}

FrameFile FrameFile::open(UniqueFd file, IntSize size) {
  FrameFile opened;
  if (!file || size.width <= 0 || size.height <= 0) return opened;
  struct stat status {};
  const int seals = ::fcntl(file.get(), F_GET_SEALS);
  if (seals < 0 || (seals & lengthSeals) != lengthSeals || !isMemoryFile(file.get()) ||
      ::fstat(file.get(), &status) != 0 || status.st_size != static_cast<off_t>(bytesFor(size))) {
    return opened;
  }
  opened.size_ = size;
  opened.file_ = std::move(file);
  if (!opened.map(PROT_READ)) return FrameFile();
  // The mapping suffices; descriptors are limited.
  opened.file_.reset();
  return opened;
}

}  // namespace Tessel::Platform::Graphics::Remote
