// Whole files. Any thread.
#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>

namespace test_support {

// The bytes of a file; incomplete if it cannot be read to its end, such as /proc files of an ending
// process.
inline std::string contentOf(const std::filesystem::path& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return std::move(text).str();
}

}  // namespace test_support
