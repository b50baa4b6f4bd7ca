// What must hold for any bytes as a payload of the page link. Any thread.
#pragma once

#include "engine/webkit/link/Frame.h"

#include <string>

namespace frame_rules {

// What is accepted is exactly what an encoder would have written. Counts what was accepted.
template <typename Record>
bool decoderKeeps(const std::string& payload, int& accepted) {
  Record record;
  if (!link_protocol::decode(payload, record)) return true;
  ++accepted;
  return link_protocol::encode(record) == payload;
}

inline bool everyDecoderKeeps(const std::string& payload, int& accepted) {
  using namespace link_protocol;
  return decoderKeeps<FunctionCall>(payload, accepted) &&
         decoderKeeps<PostedCall>(payload, accepted) &&
         decoderKeeps<JavaScriptVariant>(payload, accepted) &&
         decoderKeeps<PageSetup>(payload, accepted) &&
         decoderKeeps<DialogQuestion>(payload, accepted) &&
         decoderKeeps<DialogAnswer>(payload, accepted) &&
         decoderKeeps<NativeArguments>(payload, accepted);
}
inline bool everyDecoderKeeps(const std::string& payload) {
  int accepted = 0;
  return everyDecoderKeeps(payload, accepted);
}

}  // namespace frame_rules
