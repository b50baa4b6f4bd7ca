// Registers the serialisers of all messages between processes: once, before main(), in protocol
// order.
#include "ipc/ProcessMessages.h"
#include "webview/commands/CommandMessages.h"
#include "webview/events/EventMessages.h"

#include <algorithm>
#include <array>

namespace {

using Tessel::Platform::BasicMessageSerializer;
using Tessel::Platform::installMessageSerializer;
using Tessel::Platform::IPCMessage1Serializer;
using Tessel::Platform::MessageSerializer;
using Tessel::Platform::RecordSerializer;

struct Installation {
  int type;
  const MessageSerializer* (*make)();
};

template <typename Serializer>
const MessageSerializer* made() {
  return new Serializer;
}

template <typename Message>
constexpr Installation of() {
  return {Message::messageType, made<RecordSerializer<Message>>};
}

constexpr std::array processMessages{
    Installation{ShutdownMessage::messageType, made<BasicMessageSerializer<ShutdownMessage>>},
    of<CreateWebViewMessage>(),
    of<DeleteWebViewMessage>(),
    of<SetEnvMessage>(),
    of<SetCapabilitiesMessage>(),
    of<HandleOrvWebPostEventMessage>(),
    of<HandleOrvWebSendEventMessage>(),
    of<HandshakeMessage>(),
    of<ErrorMessage>(),
    of<CookieChangesMessage>(),
    of<ViewQuestionMessage>(),
    of<ViewAnswerMessage>(),
};

// Commands share the serialisers of their layouts. In the order of their numbers, which include
// commands that are not sent between processes.
constexpr auto commandMessages = [] {
#define COMMAND(number, name, ...) COMMAND_AS(number, name, name)
#define COMMAND_AS(number, name, operation, ...)    \
  Installation{(number) > 0 ? (number) : -(number), \
               made<RecordSerializer<commands::CommandTraitsOf<&WebView::operation>::Record>>},
  constexpr Installation byName[] = {
#include "registry/Commands.def"
  };
#undef COMMAND_AS
#undef COMMAND
  std::array<Installation, std::size(byName)> byNumber = std::to_array(byName);
  std::sort(byNumber.begin(), byNumber.end(),
            [](const Installation& a, const Installation& b) { return a.type < b.type; });
  return byNumber;
}();

[[maybe_unused]] const bool installed = [] {
  for (const auto& [type, make] : processMessages) installMessageSerializer(type, make());
  for (const auto& [type, make] : commandMessages) installMessageSerializer(type, make());
  return true;
}();

}  // namespace
