// Whole files. Any thread.
#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>

namespace test_support {

// The bytes of a file; as many as there are when it cannot be read to its end, as those of a
// process that ends.
inline std::string contentOf(const std::filesystem::path& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return std::move(text).str();
}

}  // namespace test_support
