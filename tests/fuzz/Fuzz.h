// Common code of the fuzzers. Each is one function that turns bytes into input for its reader and
// traps if an invariant is violated. Main thread.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>
#include <stdlib.h>

#include <cstdint>
#include <filesystem>
#include <string>

namespace fuzz {

using Input = FuzzedDataProvider;

// The backtrace of the trap shows which invariant failed.
inline void require(bool holds) {
  if (!holds) __builtin_trap();
}

// Takes values from the front in memory order, so that the bytes of a file are those of the record.
template <typename Record>
void overwrite(Input& input, Record& record) {
  const auto offset = input.ConsumeIntegralInRange<std::size_t>(0, sizeof record - 1);
  const auto most = input.ConsumeIntegralInRange<std::size_t>(0, sizeof record - offset);
  input.ConsumeData(reinterpret_cast<char*>(&record) + offset, most);
}

// In memory, until the process exits; tools/fuzz removes leftovers.
inline std::filesystem::path folder() {
  std::string name = std::filesystem::temp_directory_path() / "fuzz-XXXXXX";
  require(::mkdtemp(name.data()));
  return name;
}

}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
