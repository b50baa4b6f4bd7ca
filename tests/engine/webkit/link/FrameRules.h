// Invariants for any bytes as a payload of the page link. Any thread.
#pragma once

#include "engine/webkit/link/Frame.h"

#include <string>

namespace frame_rules {

// Accepted payloads are exactly those that an encoder would write.
template <typename... Records>
bool decodersKeep(const std::string& payload) {
  const auto keeps = [&](auto record) {
    return !link_protocol::decode(payload, record) || link_protocol::encode(record) == payload;
  };
  return (keeps(Records()) && ...);
}

inline bool everyDecoderKeeps(const std::string& payload) {
  using namespace link_protocol;
  return decodersKeep<FunctionCall, PostedCall, PageReport, ActionCall, ResourceDecision,
                      JavaScriptVariant, PageSetup, DialogQuestion, DialogAnswer, NativeArguments>(
      payload);
}

}  // namespace frame_rules
