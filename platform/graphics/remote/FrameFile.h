// The shared memory of a window's frames: a sealed memory file with two buffers, each a whole
// frame, rows of 32-bit pixels with premultiplied alpha. The child process creates and writes it,
// the application maps it read-only. UI thread.
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

  // A new zeroed file, writable. Empty if out of memory, or if the area is zero.
  static FrameFile create(IntSize size);
  // Maps a file of another process for reading. Empty unless it is a memory file sealed against
  // resizing, of exactly the length of two frames of that size, so that reading it cannot fault.
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
