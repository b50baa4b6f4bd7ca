// What crosses for each command: the message class, its layout and its reply, all of it from the
// operation's signature. Plain values; see Message for who owns a message.
#pragma once

#include "platform/channel/IPCMessage.h"
#include "registry/NativeCall.h"
#include "webview/WebView.h"
#include "webview/commands/Wire.h"

#include <array>
#include <tuple>
#include <utility>

class IPCSenderWebView;

namespace commands {

template <typename Field>
inline constexpr char fieldLetter = std::is_same_v<Field, bool>  ? 'b'
                                    : std::is_same_v<Field, int> ? 'i'
                                                                 : 's';

// What commands of the same signature share. Whatever is compiled per signature, and not once more
// for each command, keeps the build short.
template <typename Result, typename Arguments>
struct CommandTraits;
template <typename Result_, typename... Args>
struct CommandTraits<Result_, std::tuple<Args...>> {
  using Result = Result_;
  using Arguments = std::tuple<Args...>;
  using ProxyArguments = std::tuple<typename Wire<Args>::ProxyArgument...>;
  // Runs the operation.
  using Call = Result (*)(WebView&, const Args&...);
  // Sends its message.
  using Send = Result (*)(const IPCSenderWebView&, const typename Wire<Args>::ProxyArgument&...);
  // The web view's handle comes first.
  using Record = Tessel::Platform::IPCMessage<int, typename Wire<Args>::Field...>;

  static std::unique_ptr<Record> message(int number, unsigned int handle,
                                         Tessel::Platform::MessageReplyBuffer* reply,
                                         const typename Wire<Args>::ProxyArgument&... arguments) {
    return std::make_unique<Record>(number, reply, static_cast<int>(handle),
                                    Wire<Args>::encode(arguments)...);
  }
  static constexpr std::array<char, sizeof...(Args) + 1> fieldLetters{
      fieldLetter<typename Wire<Args>::Field>..., '\0'};

  template <auto Operation>
  static Result call(WebView& webView, const Args&... arguments) {
    return (webView.*Operation)(arguments...);
  }
};

template <auto Operation>
using CommandTraitsOf =
    CommandTraits<typename arguments::Signature<decltype(Operation)>::Result,
                  typename arguments::Signature<decltype(Operation)>::Arguments>;

// The message of a command. Commands that do not cross have none.
template <int number, auto Operation>
requires(number > 0) class CommandMessage final : public CommandTraitsOf<Operation>::Record {
 public:
  static constexpr int messageType = number;

  template <typename... Fields>
  explicit CommandMessage(unsigned int handle,
                          Tessel::Platform::MessageReplyBuffer* reply = nullptr, Fields... fields)
      : CommandTraitsOf<Operation>::Record(number, reply, static_cast<int>(handle),
                                           std::move(fields)...) {}
};

template <int number, auto Operation>
struct NamedMessage {
  using type = CommandMessage<number, Operation>;
};
template <int number, auto Operation>
requires(number <= 0) struct NamedMessage<number, Operation> {
  using type = void;
};

}  // namespace commands

// loadURLMessage and so on.
#define COMMAND(number, name, ...) COMMAND_AS(number, name, name)
#define COMMAND_AS(number, name, operation, ...) \
  using name##Message = commands::NamedMessage<number, &WebView::operation>::type;
#include "registry/Commands.def"
#undef COMMAND_AS
#undef COMMAND
