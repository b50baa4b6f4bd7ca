// The commands that a running program takes from outside. Main thread.
#include "platform/control/ControlCommands.h"

#include <glib.h>

#include <algorithm>
#include <charconv>
#include <memory>
#include <tuple>
#include <utility>

namespace Tessel::Platform {

namespace {

using Texts = std::vector<String>;

// How a type of parameters is read from the arguments that are left.
template <typename Type>
struct Parameter;
template <>
struct Parameter<ControlView> {
  static constexpr const char* type = "u";
  static String read(std::span<const String>& left, ControlView& view) {
    unsigned handle = 0;
    const std::string_view text = left.front().view();
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), handle);
    if (error != std::errc() || end != text.data() + text.size()) {
      return concat("\"", left.front(), "\" is no handle of a web view");
    }
    view = ControlView(handle);
    left = left.subspan(1);
    return {};
  }
};
template <>
struct Parameter<String> {
  static constexpr const char* type = "s";
  static String read(std::span<const String>& left, String& text) {
    text = left.front();
    left = left.subspan(1);
    return {};
  }
};
template <>
struct Parameter<Texts> {
  static constexpr const char* type = "as";
  static String read(std::span<const String>& left, Texts& texts) {
    texts.assign(left.begin(), left.end());
    left = {};
    return {};
  }
};

// The row's operation, without the reply.
template <typename Operation>
struct Signature;
template <typename... Parameters>
struct Signature<void (ControlHandler::*)(ControlReply, Parameters...)> {
  using Values = std::tuple<std::decay_t<Parameters>...>;
  static constexpr bool takesRest =
      (false || ... || std::is_same_v<std::decay_t<Parameters>, Texts>);
  static constexpr std::size_t least = sizeof...(Parameters) - (takesRest ? 1 : 0);

  // From "(view, address)".
  static std::vector<ControlParameter> parameters(std::string_view names) {
    std::vector<ControlParameter> list;
    names.remove_prefix(1);
    for (const char* type :
         std::initializer_list<const char*>{Parameter<std::decay_t<Parameters>>::type...}) {
      const std::size_t end = names.find_first_of(",)");
      list.push_back({std::string(names.substr(0, end)), type});
      names.remove_prefix(std::min(names.size(), end + 2));
    }
    return list;
  }

  static void call(ControlHandler& handler,
                   void (ControlHandler::*operation)(ControlReply, Parameters...),
                   std::span<const String> arguments, const ControlReply& reply) {
    if (arguments.size() < least || (!takesRest && arguments.size() > least)) {
      return reply({.error = concat("That command takes ", takesRest ? "at least " : "",
                                    String::fromUnsignedInteger(least), " arguments, not ",
                                    String::fromUnsignedInteger(arguments.size()))});
    }
    Values values;
    String problem;
    std::apply(
        [&](auto&... each) {
          static_cast<void>(
              ((problem = Parameter<std::decay_t<decltype(each)>>::read(arguments, each),
                problem.isEmpty()) &&
               ...));
        },
        values);
    if (!problem.isEmpty()) return reply({.error = problem});
    std::apply([&](const auto&... each) { (handler.*operation)(reply, each...); }, values);
  }
};

template <auto operation>
void callOperation(ControlHandler& handler, std::span<const String> arguments,
                   const ControlReply& reply) {
  Signature<decltype(operation)>::call(handler, operation, arguments, reply);
}

// A reply that is given once, in time.
class OneReply : public std::enable_shared_from_this<OneReply> {
 public:
  explicit OneReply(ControlReply reply) : reply_(std::move(reply)) {}
  ~OneReply() { stop(); }
  OneReply(const OneReply&) = delete;
  OneReply& operator=(const OneReply&) = delete;

  // Keeps itself until then.
  void limit() {
    self_ = shared_from_this();
    timer_ = g_timeout_add(
        static_cast<guint>(controlLimit.count()),
        [](gpointer data) -> gboolean {
          auto* const self = static_cast<OneReply*>(data);
          self->timer_ = 0;
          self->give({.error = "The program does not answer in time"});
          return G_SOURCE_REMOVE;
        },
        this);
  }
  void give(ControlAnswer answer) {
    const auto self = std::move(self_);
    stop();
    if (const ControlReply reply = std::exchange(reply_, {})) reply(std::move(answer));
  }

 private:
  void stop() {
    if (timer_) g_source_remove(std::exchange(timer_, 0));
  }

  ControlReply reply_;
  std::shared_ptr<OneReply> self_;
  guint timer_ = 0;
};

const std::vector<ControlCommand>& table() {
  static const auto* const rows = new std::vector<ControlCommand>{
#define CONTROL_COMMAND(name, result, parameters_, arguments, text)          \
  {#name, ControlResult::result,                                             \
   Signature<decltype(&ControlHandler::name)>::parameters(#arguments), text, \
   &callOperation<&ControlHandler::name>},
#include "platform/control/Commands.def"
  };
  return *rows;
}

}  // namespace

std::span<const ControlCommand> controlCommands() {
  return table();
}

const ControlCommand* controlCommandNamed(std::string_view name) {
  const auto& rows = table();
  const auto found =
      std::find_if(rows.begin(), rows.end(), [&](const auto& row) { return name == row.name; });
  return found == rows.end() ? nullptr : &*found;
}

void carryOut(ControlHandler& handler, const String& name, std::span<const String> arguments,
              ControlReply reply) {
  const auto one = std::make_shared<OneReply>(std::move(reply));
  one->limit();
  const ControlReply once = [one](ControlAnswer answer) { one->give(std::move(answer)); };
  if (const ControlCommand* const command = controlCommandNamed(name.view())) {
    return command->call(handler, arguments, once);
  }
  once({.error = concat("There is no command \"", name, "\"")});
}

}  // namespace Tessel::Platform
