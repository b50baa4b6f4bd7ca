// Which commands, events and properties the suites have seen at work on the real engine, of those
// that are said to be. Main thread.
#pragma once

#include <filesystem>
#include <set>
#include <string>

namespace test_support {

class Coverage {
 public:
  // A line that a suite prints at its end: "# called" or "# raised" and names. Others are ignored.
  void take(const std::string& line);

  // The names as lines for take(), to be added to by another process. False when there is no such
  // file.
  void save(const std::filesystem::path& file) const;
  bool load(const std::filesystem::path& file);

  // A line for each of commands, events and properties: how many of how many, and what is missing.
  std::string report() const;
  // Of those that are said to be.
  std::size_t commands() const;
  std::size_t events() const;
  std::size_t properties() const;

 private:
  std::set<std::string> called_;
  std::set<std::string> raised_;
};

}  // namespace test_support
