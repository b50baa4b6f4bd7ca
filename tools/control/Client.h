// A connection to the control of a running program. Main thread.
#pragma once

#include "platform/base/UniqueFd.h"

#include <optional>
#include <string>
#include <vector>

class Client {
 public:
  // The numbers of the processes whose control is there.
  static std::vector<int> programs();

  // What went wrong, else nothing.
  std::string connect(int pid);
  std::string send(const std::vector<std::string>& words);
  // The next line, waiting at most so long, or for ever below 0; nothing when there is none.
  std::optional<std::string> nextLine(int milliseconds);

 private:
  Tessel::Platform::UniqueFd socket_;
  std::string pending_;
};
