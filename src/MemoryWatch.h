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
  // Bytes of each process below this one.
  using Memory = std::map<int, std::uint64_t>;
  struct Ended {
    int process;
    bool isTold = false;
  };

  void look();
  void endLargest(const Memory& ofProcess);
  // Leaves those in ended_ that are still there.
  void checkEnded(const Memory& ofProcess);

  const std::uint64_t limit_;
  // By web view: which process was ended as its own. A child process that hangs does not end it,
  // and one that may be anybody's by now can have named another: such a web view is passed over.
  std::map<unsigned int, Ended> ended_;
  unsigned int timer_;
  bool wasAbove_ = false;
};
