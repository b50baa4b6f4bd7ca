// Messages between inspector front ends and the engine.
#include "engine/webkit/inspector/TargetProtocol.h"
#include "tests/fuzz/Fuzz.h"

namespace {

// Both accept JSON of any depth.
bool isJson(std::string_view text) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size());
  return !document.HasParseError();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  TargetProtocol protocol;
  while (input.remaining_bytes() > 0) {
    const bool ofEngine = input.ConsumeBool();
    const std::string message = input.ConsumeRandomLengthString();
    const auto told = ofEngine ? protocol.toFrontEnd(message) : protocol.toEngine(message);
    if (told && *told != message && !ofEngine) fuzz::require(isJson(*told));
    TargetProtocol::createdTarget(message);
    for (const std::string& held : protocol.takeHeld()) fuzz::require(isJson(held));
  }
  return 0;
}
