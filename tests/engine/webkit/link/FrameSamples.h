// Payloads of the page link with awkward values.
#pragma once

#include "engine/webkit/link/Frame.h"

#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace test_support {

using Tessel::Platform::String;

inline const std::string& awkwardText() {
  static const std::string text("a\0b \"\\\x01\xff \xc3\xbc \xf0\x9f\x8c\x8d\0", 17);
  return text;
}

inline std::vector<JavaScriptVariant> sampleVariants() {
  return {JavaScriptVariant(),
          JavaScriptVariant::null(),
          JavaScriptVariant::object(),
          true,
          false,
          0,
          -0.0,
          1e300,
          std::numeric_limits<double>::infinity(),
          std::numeric_limits<double>::quiet_NaN(),
          std::numeric_limits<double>::denorm_min(),
          String(),
          String(awkwardText())};
}

inline OrvWebHeader header(const std::string& key, const std::string& value) {
  OrvWebHeader result;
  result.setKey(key);
  result.setValue(value);
  return result;
}

inline std::vector<FunctionCall> sampleCalls() {
  return {{}, {{"f"}, {}}, {{"a", "", awkwardText()}, sampleVariants()}};
}
inline std::vector<link_protocol::PageReport> sampleReports() {
  using link_protocol::ReportKind;
  return {{}, {ReportKind::alive, {}}, {ReportKind::exception, sampleVariants()}};
}
inline std::vector<link_protocol::ActionCall> sampleActions() {
  return {{}, {PageAction::submitted, {}}, {PageAction::scrollTo, sampleVariants()}};
}
inline std::vector<link_protocol::ResourceDecision> sampleDecisions() {
  using link_protocol::ResourceVerdict;
  return {{}, {ResourceVerdict::Redirect, awkwardText(), "referrer"}};
}
inline std::vector<link_protocol::PageSetup> sampleSetups() {
  return {{},
          {true, false, true, {header("X-One", "1")}, true, true, 5, true, true},
          {false, true, false, {header("", ""), header(awkwardText(), awkwardText())}, false}};
}
inline std::vector<link_protocol::DialogQuestion> sampleDialogs() {
  using link_protocol::DialogKind;
  return {{}, {DialogKind::Prompt, awkwardText(), "initial"}, {DialogKind::Print, "", "x"}};
}
inline std::vector<link_protocol::DialogAnswer> sampleDialogAnswers() {
  return {{}, {true, awkwardText()}, {false, "text"}};
}
inline std::vector<link_protocol::NativeArguments> sampleArguments() {
  return {{}, {""}, {std::nullopt}, {"quit", std::nullopt, "", awkwardText()}};
}

// Calls the visitor with the samples of every type of payload.
template <typename Visitor>
void forEachSampleList(Visitor visit) {
  visit(sampleVariants());
  visit(sampleCalls());
  visit(sampleReports());
  visit(sampleActions());
  visit(sampleDecisions());
  visit(sampleSetups());
  visit(sampleDialogs());
  visit(sampleDialogAnswers());
  visit(sampleArguments());
}

// The encoding of a number in a payload or header.
template <typename Number>
std::string rawBytes(Number number) {
  return std::string(reinterpret_cast<const char*>(&number), sizeof number);
}

// The bytes of a frame on the socket.
inline std::string rawFrame(std::uint32_t kind, std::string_view payload, std::uint32_t id = 0,
                            std::uint64_t page = 0) {
  const link_protocol::FrameHeader head{static_cast<std::uint32_t>(payload.size()), kind, id, 0,
                                        page};
  return rawBytes(head).append(payload);
}

}  // namespace test_support
