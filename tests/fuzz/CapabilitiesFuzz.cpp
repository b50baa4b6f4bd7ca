// The file with the permissions for native functions.
#include "registry/Capabilities.h"
#include "tests/fuzz/Fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::string problem;
  const auto read = Capabilities::read(text, problem);
  fuzz::require(read || !problem.empty());
  if (!read) return 0;
  OrvWebJavaScriptCallbackEvent call({"webview.create"});
  for (const char* stranger : {"", "https://stranger.example", "file:///", "local://"}) {
    call.setCaller(stranger, false);
    // Only listed origins may call.
    fuzz::require(!read->allow(call) || text.find(*stranger ? stranger : "\"\"") != text.npos);
  }
  for (const auto& origin : read->origins())
    fuzz::require(Origin::of(origin.view()).text() == origin);
  return 0;
}
