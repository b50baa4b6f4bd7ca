// The proxy of a web view that lives in a child process: an operation for every command, which
// sends the command's message. UI thread.
#pragma once

#include "ipc/IPCSenderGroup.h"
#include "platform/GuardedPointer.h"
#include "platform/messages/MessageClient.h"
#include "webview/commands/CommandMessages.h"

class IPCSenderWebView : public Tessel::Platform::GuardedPointerBase {
 public:
  IPCSenderWebView(IPCSenderGroup* group, unsigned int handle) : group_(group), handle_(handle) {}

  unsigned int handle() const { return handle_; }

  // title(), setZOrder(int) and so on, with the arguments of the web view's operations; a web view
  // among them goes by its handle as a text. Operations without a result return at once, others
  // when the child has answered. While the group is not connected nothing is sent and results are
  // zero, empty or the like.
#define COMMAND(number, name, ...) COMMAND_AS(number, name, name)
#define COMMAND_AS(number, name, operation, ...)         \
  template <typename... Values>                          \
  auto name(const Values&... values) const {             \
    return call<number, &WebView::operation>(values...); \
  }
#include "webview/commands/Commands.def"
#undef COMMAND_AS
#undef COMMAND

  // Any of them by its number.
  template <int number, auto Operation, typename... Values>
  auto call(const Values&... values) const {
    if constexpr (number == 0) {
      return callHere<Operation>();
    } else {
      return send<number, Operation>(values...);
    }
  }

 private:
  template <int number, auto Operation, typename... Values>
  typename commands::Command<Operation>::Result send(const Values&... values) const {
    using Message = commands::CommandMessage<number, Operation>;
    using Result = typename commands::Command<Operation>::Result;
    using Tessel::Platform::MessageClient;
    if (!group_ || !group_->isConnected()) return Result();
    if constexpr (std::is_void_v<Result>) {
      MessageClient::sendMessage(std::make_unique<Message>(handle_, nullptr, values...),
                                 group_->channelId());
    } else {
      // Whatever is served meanwhile may delete this proxy: nothing of it is used afterwards.
      typename commands::Reply<Result>::Buffer buffer;
      MessageClient::sendMessage(std::make_unique<Message>(handle_, &buffer, values...),
                                 group_->channelId());
      return commands::Reply<Result>::value(buffer);
    }
  }

  // Commands that do not cross are answered in this process, with what the child tells.
  template <auto Operation>
  auto callHere() const {
    static_assert(Operation == &WebView::screenWindowHandle);
    return WebView::lookUpWindow(windowUniqueId());
  }

  const Tessel::Platform::GuardedPointer<IPCSenderGroup> group_;
  const unsigned int handle_;
};
