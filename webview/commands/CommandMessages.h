// What crosses for each command: the message class, its layout and its reply, all of it from the
// operation's signature. Plain values; see Message for who owns a message.
#pragma once

#include "platform/messages/IPCMessage.h"
#include "webview/WebView.h"
#include "webview/commands/Wire.h"

#include <array>
#include <tuple>
#include <utility>

namespace commands {

template <typename Operation>
struct Signature;
template <typename R, typename Class, typename... Args>
struct Signature<R (Class::*)(Args...)> {
  using Result = std::remove_cvref_t<R>;
  using Arguments = std::tuple<std::remove_cvref_t<Args>...>;
};
template <typename R, typename Class, typename... Args>
struct Signature<R (Class::*)(Args...) const> : Signature<R (Class::*)(Args...)> {};

template <typename Field>
inline constexpr char fieldLetter = std::is_same_v<Field, bool>  ? 'b'
                                    : std::is_same_v<Field, int> ? 'i'
                                                                 : 's';

template <typename Arguments>
struct Layout;
template <typename... Args>
struct Layout<std::tuple<Args...>> {
  using ProxyArguments = std::tuple<typename Wire<Args>::ProxyArgument...>;
  // The web view's handle comes first.
  using Record = Tessel::Platform::IPCMessage<int, typename Wire<Args>::Field...>;
  static constexpr std::array<char, sizeof...(Args) + 1> letters{
      fieldLetter<typename Wire<Args>::Field>..., '\0'};
};

template <auto Operation>
struct Command {
  using Result = typename Signature<decltype(Operation)>::Result;
  using Arguments = typename Signature<decltype(Operation)>::Arguments;
  using ProxyArguments = typename Layout<Arguments>::ProxyArguments;
  using Record = typename Layout<Arguments>::Record;
};

// The message of a command, made from the arguments that its sender has.
template <int number, auto Operation, typename Arguments>
class MessageWith;
template <int number, auto Operation, typename... Args>
class MessageWith<number, Operation, std::tuple<Args...>> final
    : public Command<Operation>::Record {
 public:
  static constexpr int messageType = number;

  MessageWith(unsigned int handle, Tessel::Platform::MessageReplyBuffer* reply,
              const typename Wire<Args>::ProxyArgument&... arguments)
      : Command<Operation>::Record(number, reply, static_cast<int>(handle),
                                   Wire<Args>::encode(arguments)...) {}
};
// Commands without a number have none.
template <auto Operation, typename... Args>
class MessageWith<0, Operation, std::tuple<Args...>>;

template <int number, auto Operation>
using CommandMessage = MessageWith<number, Operation, typename Command<Operation>::Arguments>;

}  // namespace commands

// loadURLMessage and so on.
#define COMMAND(number, name, ...) COMMAND_AS(number, name, name)
#define COMMAND_AS(number, name, operation, ...) \
  using name##Message = commands::CommandMessage<number, &WebView::operation>;
#include "webview/commands/Commands.def"
#undef COMMAND_AS
#undef COMMAND
