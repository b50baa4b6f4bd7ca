// What the fuzzers share. Each is one function that takes bytes, of which some are made into what
// its reader expects, and that traps where a rule is broken. Main thread.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>
#include <stdlib.h>

#include <cstdint>
#include <filesystem>
#include <string>

namespace fuzz {

using Input = FuzzedDataProvider;

// The trace of the trap names the rule's place.
inline void require(bool holds) {
  if (!holds) __builtin_trap();
}

// Whole values from the front, so that the bytes of a file are those of the record.
template <typename Record>
void overwrite(Input& input, Record& record) {
  const auto offset = input.ConsumeIntegralInRange<std::size_t>(0, sizeof record - 1);
  const auto most = input.ConsumeIntegralInRange<std::size_t>(0, sizeof record - offset);
  input.ConsumeData(reinterpret_cast<char*>(&record) + offset, most);
}

// In memory, and for the life of the process; tools/fuzz removes what is left of them.
inline std::filesystem::path folder() {
  std::string name = std::filesystem::temp_directory_path() / "fuzz-XXXXXX";
  require(::mkdtemp(name.data()));
  return name;
}

}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
