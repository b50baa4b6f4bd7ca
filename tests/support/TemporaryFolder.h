// A folder that is removed at the end of its test.
#pragma once

#include "tests/support/FileContent.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace test_support {

class TemporaryFolder {
 public:
  explicit TemporaryFolder(const std::string& place = testing::TempDir()) {
    std::string name = place + "pagehost-test-XXXXXX";
    if (!::mkdtemp(name.data())) ADD_FAILURE() << "no temporary folder";
    path_ = name;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

  // In memory if possible: a busy disk can block for seconds.
  static std::string memory() {
    std::error_code none;
    return std::filesystem::is_directory("/dev/shm", none) ? "/dev/shm/" : testing::TempDir();
  }

  // Creates parent folders as well.
  void write(const std::string& name, const std::string& content) const {
    std::filesystem::create_directories((path_ / name).parent_path());
    std::ofstream(path_ / name) << content;
  }
  std::string read(const std::string& name) const { return contentOf(path_ / name); }

 private:
  std::filesystem::path path_;
};

}  // namespace test_support
