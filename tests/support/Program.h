// The real program as a child process: its output line by line, its status, its end. Any thread.
#pragma once

#include "platform/base/UniqueFd.h"

#include <sys/types.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace test_support {

class Program {
 public:
  using Environment = std::map<std::string, std::string>;
  static constexpr std::chrono::seconds patience{30};

  // Starts it in the environment of the test with these changes; an empty value removes a variable.
  // The name is its argv[0]; the file is the program's executable unless another one is given.
  Program(const Environment& changes, const std::vector<std::string>& arguments = {},
          const std::string& name = "pagehost", const char* file = nullptr);
  // Kills it if it is still running.
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  pid_t pid() const { return pid_; }
  // The next line of its standard output; empty if it ends or at the deadline.
  std::optional<std::string> nextLine();
  // Reads until a line contains the text; false if none does.
  bool waitForLine(const std::string& text);
  // Waits until its standard error contains the text; false at the deadline.
  bool waitForError(const std::string& text);
  // Its exit status after it has ended, or minus the signal that killed it; empty if still running.
  std::optional<int> status();
  // Its standard error so far.
  std::string errors();

 private:
  // Reads both streams, waiting for data until the deadline at most.
  bool readMore(std::chrono::steady_clock::time_point deadline);

  pid_t pid_ = -1;
  bool reaped_ = false;
  Tessel::Platform::UniqueFd output_;
  Tessel::Platform::UniqueFd error_;
  std::string unreadOutput_;
  std::string errorText_;
};

}  // namespace test_support
