// The files of shared objects, the lines that programs write into them, and the JSON of both.
#include "tests/fuzz/Fuzz.h"
#include "tests/fuzz/PPSRules.h"

void pps_rules::require(bool holds, const char*, const std::string&) {
  fuzz::require(holds);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const bool isJson = input.ConsumeBool();
  const std::string lines = input.ConsumeRandomLengthString();
  const std::string text = input.ConsumeRemainingBytesAsString();
  pps_rules::checkText(text);
  pps_rules::checkLines(text, lines);
  if (isJson) pps_rules::checkJson(text);
  return 0;
}
