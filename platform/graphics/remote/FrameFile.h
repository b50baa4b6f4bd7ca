// The shared memory that a window's frames cross in: a sealed memory file with two buffers, each a
// whole frame, rows of 32-bit pixels with premultiplied alpha. The child process makes and writes
// it, the application maps it read-only. UI thread.
#pragma once

#include "platform/base/Geometry.h"
#include "platform/base/UniqueFd.h"

#include <cstddef>

namespace Tessel::Platform::Graphics::Remote {

class FrameFile {
 public:
  FrameFile() = default;
  ~FrameFile();
  FrameFile(FrameFile&& other) noexcept;
  FrameFile& operator=(FrameFile&& other) noexcept;

  // A new file, zeroed, to write into. Empty when there is no memory, or the size has no area.
  static FrameFile create(IntSize size);
  // A file from another process, to read from. Empty unless it is a memory file of exactly the
  // length that two frames of that size have and can no longer change its length: reading it then
  // faults in no case.
  static FrameFile open(UniqueFd file, IntSize size);
  static std::size_t bytesFor(IntSize size);

  explicit operator bool() const { return memory_ != nullptr; }
  int fd() const { return file_.get(); }
  IntSize size() const { return size_; }
  std::size_t bytes() const { return memory_ ? bytesFor(size_) : 0; }
  int stride() const { return size_.width * 4; }
  // The first pixel of a buffer, 0 or 1.
  unsigned char* buffer(int index) const;

 private:
  bool map(int protection);

  UniqueFd file_;
  IntSize size_;
  void* memory_ = nullptr;
};

}  // namespace Tessel::Platform::Graphics::Remote
