// Bounds the memory of the program with all of its processes. UI thread.
#pragma once

#include <cstdint>
#include <map>

// Looks every ten seconds. The first time that the processes together take more than the limit,
// what can be had again is given up, and the chrome is told that memory is short. If they still do
// at the next look, the pages of the process that takes most are ended, as OrvWebView::endProcess
// does it, those of the chrome only where there are no others.
class MemoryWatch {
 public:
  // The limit is in bytes.
  explicit MemoryWatch(std::uint64_t limit);
  ~MemoryWatch();
  MemoryWatch(const MemoryWatch&) = delete;
  MemoryWatch& operator=(const MemoryWatch&) = delete;

 private:
  void look();
  void endLargest(const std::map<int, std::uint64_t>& ofProcess) const;

  const std::uint64_t limit_;
  unsigned int timer_;
  bool wasAbove_ = false;
};
