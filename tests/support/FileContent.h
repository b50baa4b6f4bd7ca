// Whole files. Any thread.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace test_support {

// The bytes of a file; nothing when it cannot be read.
inline std::string contentOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace test_support
