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

  // Starts it in the environment of the test with these changes; an empty value removes one. The
  // name is what the program sees itself started as; the file is the program's unless another one
  // is named.
  Program(const Environment& changes, const std::vector<std::string>& arguments = {},
          const std::string& name = "pagehost", const char* file = nullptr);
  // Ends it if need be.
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  pid_t pid() const { return pid_; }
  // The next line of its standard output; nothing when it ends or stays silent.
  std::optional<std::string> nextLine();
  // Reads on until a line has the text in it; false when none does.
  bool waitForLine(const std::string& text);
  // Waits until its standard error has the text in it; false when it does not get it.
  bool waitForError(const std::string& text);
  // Its exit status once it has ended; minus the signal that ended it; nothing when it goes on.
  std::optional<int> status();
  // What it has written to its standard error so far.
  std::string errors();

 private:
  // Reads what both streams have, waiting at most until the deadline for more.
  bool readMore(std::chrono::steady_clock::time_point deadline);

  pid_t pid_ = -1;
  bool reaped_ = false;
  Tessel::Platform::UniqueFd output_;
  Tessel::Platform::UniqueFd error_;
  std::string unreadOutput_;
  std::string errorText_;
};

}  // namespace test_support
