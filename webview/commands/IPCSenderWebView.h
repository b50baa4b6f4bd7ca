// The proxy of a web view that lives in a child process: an operation for every command, which
// sends the command's message. UI thread.
#pragma once

#include "platform/loop/GuardedPointer.h"
#include "platform/loop/MessageClient.h"
#include "webview/RemoteHost.h"
#include "webview/commands/CommandMessages.h"

class IPCSenderWebView : public Tessel::Platform::GuardedPointerBase {
 public:
  // The host, which may be null, need not outlive it.
  IPCSenderWebView(RemoteHost* host, unsigned int handle) : host_(host), handle_(handle) {}
  ~IPCSenderWebView() override {
    if (host_) host_->deleteRemoteWebView(this);
  }

  // Null once it is gone.
  RemoteHost* host() const { return host_.get(); }
  unsigned int handle() const { return handle_; }

  // title(), setZOrder(int) and so on, with the arguments of the web view's operations; a web view
  // among them goes by its handle as a text. Operations without a result return at once, others
  // when the child has answered. While the host is not connected nothing is sent and results are
  // zero, empty or the like.
#define COMMAND(number, name, ...) COMMAND_AS(number, name, name)
#define COMMAND_AS(number, name, operation, ...)         \
  template <typename... Values>                          \
  auto name(const Values&... values) const {             \
    return call<number, &WebView::operation>(values...); \
  }
#include "registry/Commands.def"
#undef COMMAND_AS
#undef COMMAND

  // Any of them by its number. Commands that do not cross are answered in this process, with what
  // the child tells.
  template <int number, auto Operation, typename... Values>
  typename commands::CommandTraitsOf<Operation>::Result call(const Values&... values) const {
    if constexpr (number <= 0) {
      static_assert(Operation == &WebView::screenWindowHandle);
      return WebView::lookUpWindow(windowUniqueId());
    } else {
      return send<commands::CommandTraitsOf<Operation>>(number, values...);
    }
  }

 private:
  template <typename Traits, typename... Values>
  typename Traits::Result send(int number, const Values&... values) const {
    using Result = typename Traits::Result;
    using Tessel::Platform::MessageClient;
    if (!host_ || !host_->isConnected()) return Result();
    const int channel = host_->connectionId();
    if constexpr (std::is_void_v<Result>) {
      MessageClient::sendMessage(Traits::message(number, handle_, nullptr, values...), channel);
    } else {
      // Whatever is served meanwhile may delete this proxy: nothing of it is used afterwards.
      typename commands::Reply<Result>::Buffer buffer;
      MessageClient::sendMessage(Traits::message(number, handle_, &buffer, values...), channel);
      return commands::Reply<Result>::value(buffer);
    }
  }

  const Tessel::Platform::GuardedPointer<RemoteHost> host_;
  const unsigned int handle_;
};
