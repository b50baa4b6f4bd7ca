// The two forms of the inspector protocol. Any thread.
#include "engine/webkit/inspector/TargetProtocol.h"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <utility>

namespace {

using rapidjson::SizeType;
using rapidjson::Value;
using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

// The domains that the engine itself answers, not its pages.
bool isForEngine(std::string_view method) {
  return method.starts_with("Target.") || method.starts_with("Browser.");
}

// The limits of held messages, and of messages that the engine has to confirm.
constexpr std::size_t mostHeld = 1000;
constexpr std::size_t mostWaiting = 10000;

rapidjson::Document parsed(std::string_view text) {
  rapidjson::Document document;
  // Iterative: a message nested a million deep must not exhaust the stack.
  document.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size());
  return document;
}

const Value* memberOf(const Value& value, const char* name) {
  if (!value.IsObject()) return nullptr;
  const auto found = value.FindMember(name);
  return found == value.MemberEnd() ? nullptr : &found->value;
}

std::string textOf(const Value* value) {
  return value && value->IsString() ? std::string(value->GetString(), value->GetStringLength())
                                    : std::string();
}

std::string textAt(const Value& value, const char* name) {
  return textOf(memberOf(value, name));
}

std::int64_t idOf(const Value& value) {
  const Value* id = memberOf(value, "id");
  return id && id->IsInt64() ? id->GetInt64() : 0;
}

void writeText(Writer& writer, std::string_view text) {
  writer.String(text.data(), static_cast<SizeType>(text.size()));
}

// The page that a Target.targetCreated is about, unless it only may become one.
std::string createdPage(const Value& parameters) {
  const Value* info = memberOf(parameters, "targetInfo");
  if (!info || textAt(*info, "type") != "page") return {};
  const Value* provisional = memberOf(*info, "isProvisional");
  if (provisional && provisional->IsBool() && provisional->GetBool()) return {};
  return textAt(*info, "targetId");
}

}  // namespace

std::string TargetProtocol::createdTarget(std::string_view message) {
  const rapidjson::Document document = parsed(message);
  if (document.HasParseError() || textAt(document, "method") != "Target.targetCreated") return {};
  const Value* parameters = memberOf(document, "params");
  return parameters ? createdPage(*parameters) : std::string();
}

std::optional<std::string> TargetProtocol::toEngine(std::string_view message) {
  if (frontEnd_ == FrontEnd::Wrapping) return std::string(message);
  const rapidjson::Document document = parsed(message);
  // The engine's error for a malformed message could not be assigned to a request.
  if (document.HasParseError() || !document.IsObject()) return std::nullopt;
  if (frontEnd_ == FrontEnd::Unknown) {
    frontEnd_ = isForEngine(textAt(document, "method")) ? FrontEnd::Wrapping : FrontEnd::Plain;
    if (frontEnd_ == FrontEnd::Wrapping) return std::string(message);
  }
  if (!target_.empty()) return wrap(message, idOf(document));
  if (held_.size() < mostHeld) held_.emplace_back(message);
  return std::nullopt;
}

std::string TargetProtocol::wrap(std::string_view message, std::int64_t innerId) {
  if (waiting_.size() >= mostWaiting) waiting_.erase(waiting_.begin());
  waiting_[++lastId_] = innerId;
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  writer.StartObject();
  writer.Key("id");
  writer.Int64(lastId_);
  writer.Key("method");
  writer.String("Target.sendMessageToTarget");
  writer.Key("params");
  writer.StartObject();
  writer.Key("targetId");
  writeText(writer, target_);
  writer.Key("message");
  writeText(writer, message);
  writer.EndObject();
  writer.EndObject();
  return {buffer.GetString(), buffer.GetSize()};
}

std::vector<std::string> TargetProtocol::takeHeld() {
  std::vector<std::string> wrapped;
  if (target_.empty()) return wrapped;
  for (const std::string& message : std::exchange(held_, {})) {
    wrapped.push_back(wrap(message, idOf(parsed(message))));
  }
  return wrapped;
}

std::optional<std::string> TargetProtocol::toFrontEnd(std::string_view message) {
  if (frontEnd_ == FrontEnd::Wrapping) return std::string(message);
  const rapidjson::Document document = parsed(message);
  if (document.HasParseError() || !document.IsObject()) return std::nullopt;
  const std::string method = textAt(document, "method");
  const Value* parameters = memberOf(document, "params");
  if (method == "Target.dispatchMessageFromTarget" && parameters) {
    // A plain front end does not know provisional pages or other targets.
    if (textAt(*parameters, "targetId") != target_) return std::nullopt;
    return textAt(*parameters, "message");
  }
  if (!method.empty()) {
    if (parameters) follow(method, *parameters);
    return std::string(message);
  }
  // The engine confirms each wrapped message; only failures are passed on.
  const auto waiting = waiting_.find(idOf(document));
  if (waiting == waiting_.end()) return std::nullopt;
  const std::int64_t innerId = waiting->second;
  waiting_.erase(waiting);
  const Value* error = memberOf(document, "error");
  if (!error) return std::nullopt;
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  writer.StartObject();
  writer.Key("error");
  error->Accept(writer);
  writer.Key("id");
  writer.Int64(innerId);
  writer.EndObject();
  return std::string(buffer.GetString(), buffer.GetSize());
}

void TargetProtocol::follow(const std::string& method, const rapidjson::Value& event) {
  if (method == "Target.targetCreated") {
    if (std::string created = createdPage(event); !created.empty()) target_ = std::move(created);
  } else if (method == "Target.didCommitProvisionalTarget") {
    target_ = textAt(event, "newTargetId");
  } else if (method == "Target.targetDestroyed" && textAt(event, "targetId") == target_) {
    target_.clear();
  }
}
