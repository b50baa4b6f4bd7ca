// The receiving side of the web view commands. UI thread.
#include "webview/commands/CommandReceiver.h"

#include "platform/base/Log.h"
#include "webview/WebViewManager.h"
#include "webview/commands/CommandMessages.h"

#include <algorithm>
#include <limits>

namespace {

using Tessel::Platform::GuardedPin;
using Tessel::Platform::Message;

template <typename Record, typename Arguments>
bool decode(const Record& record, Arguments& arguments) {
  return [&]<std::size_t... I>(std::index_sequence<I...>) {
    return (commands::Wire<std::tuple_element_t<I, Arguments>>::decode(
                record.template field<I + 1>(), std::get<I>(arguments)) &&
            ...);
  }
  (std::make_index_sequence<std::tuple_size_v<Arguments>>());
}

template <typename Traits>
bool receive(const Message& message, typename Traits::Call operation) {
  using Result = typename Traits::Result;
  const auto& record = static_cast<const typename Traits::Record&>(message);
  const auto handle = static_cast<unsigned int>(record.template field<0>());
  // A command may delete the web view that it is for, by what it makes the chrome do.
  const GuardedPin<WebView> webView(WebViewManager::instance().webViewForHandle(handle));
  if (!webView) return false;

  typename Traits::Arguments arguments{};
  if (!decode(record, arguments)) {
    logAlways(Tessel::Platform::LogError,
              "Command %d for web view %u is not run: it has an invalid argument.", message.type(),
              handle);
    return true;
  }
  const auto call = [&](const auto&... values) { return operation(*webView.get(), values...); };
  if constexpr (std::is_void_v<Result>) {
    std::apply(call, arguments);
  } else {
    const Result result = std::apply(call, arguments);
    if (message.reply()) commands::Reply<Result>::store(*message.reply(), result);
  }
  return true;
}

template <auto Operation>
bool receiveFor(const Message& message) {
  using Traits = commands::CommandTraitsOf<Operation>;
  return receive<Traits>(message, Traits::template call<Operation>);
}

constexpr auto numbers = [] {
  struct {
    int first = std::numeric_limits<int>::max();
    int last = 0;
  } range;
#define COMMAND(number, ...) number,
#define COMMAND_AS(number, ...) number,
  for (const int number : {
#include "registry/Commands.def"
       }) {
    if (number > 0) range.first = std::min(range.first, number);
    range.last = std::max(range.last, number);
  }
#undef COMMAND_AS
#undef COMMAND
  return range;
}();

using Receiver = bool (*)(const Message&);

// By the number, from the first on; null for the numbers that no command has.
constexpr auto receivers = [] {
  std::array<Receiver, numbers.last - numbers.first + 1> table{};
#define COMMAND(number, name, ...) COMMAND_AS(number, name, name)
#define COMMAND_AS(number, name, operation, ...) \
  if constexpr ((number) > 0) table[(number)-numbers.first] = receiveFor<&WebView::operation>;
#include "registry/Commands.def"
#undef COMMAND_AS
#undef COMMAND
  return table;
}();

}  // namespace

bool dispatchWebViewCommand(const Message& message) {
  const int type = message.type();
  if (type < numbers.first || type > numbers.last) return false;
  const Receiver receiver = receivers[static_cast<std::size_t>(type - numbers.first)];
  return receiver && receiver(message);
}
