// Raises notifications by name. Main thread.
#include "platform/desktop/FontInfo.h"
#include "platform/desktop/LocaleHandler.h"
#include "platform/desktop/NavigatorHandler.h"
#include "platform/desktop/Notifications.h"

#include <charconv>
#include <functional>
#include <utility>

namespace Tessel::Platform {

namespace {

bool read(const String& text, String& value) {
  value = text;
  return true;
}

template <typename Number>
requires std::is_arithmetic_v<Number>
bool read(const String& text, Number& value) {
  const char* const end = text.utf8() + text.length();
  const auto [place, error] = std::from_chars(text.utf8(), end, value);
  return error == std::errc() && place == end;
}

template <typename Listener, typename Result, typename... Parameters, std::size_t... index>
std::optional<String> tell(Listener& listener, Result (Listener::*operation)(Parameters...),
                           std::span<const String> arguments, std::index_sequence<index...>) {
  std::tuple<std::decay_t<Parameters>...> values;
  std::optional<String> problem;
  const auto readOne = [&](std::size_t i, auto& value) {
    if (!problem && !read(arguments[i], value)) {
      problem = concat("\"", arguments[i], "\" is not a number");
    }
  };
  static_cast<void>(readOne);
  (readOne(index, std::get<index>(values)), ...);
  if (!problem) {
    static_cast<void>(std::invoke(operation, listener, std::get<index>(values)...));
  }
  return problem;
}

// The handlers pass on what they are told.
template <typename Listener, typename Result, typename... Parameters>
std::optional<String> tell(Listener& listener, Result (Listener::*operation)(Parameters...),
                           std::span<const String> arguments) {
  return tell(listener, operation, arguments, std::index_sequence_for<Parameters...>());
}

}  // namespace

std::optional<String> raiseNotification(const String& name, std::span<const String> arguments) {
  const Notification* notification = notificationNamed(name.view());
  if (!notification) return concat("There is no notification \"", name, "\"");
  if (arguments.size() != notification->count) {
    return concat(name, " takes ", String::fromUnsignedInteger(notification->count), " arguments ",
                  notification->parameters, ", not ",
                  String::fromUnsignedInteger(arguments.size()));
  }
  const std::string_view wanted = name.view();
  NavigatorListener& navigator = NavigatorHandler::instance();
  LocaleListener& locale = LocaleHandler::instance();
  FontInfoListener& font = FontInfo::instance();
#define TELL(Listener, handler, operation) \
  if (wanted == #operation) return tell(handler, &Listener::operation, arguments);
#define OF_NAVIGATOR(name, ...) TELL(NavigatorListener, navigator, name)
#define OF_LOCALE(name, ...) TELL(LocaleListener, locale, name)
#define OF_FONT(name, ...) TELL(FontInfoListener, font, name)
#define APPLICATION_NOTIFICATION OF_NAVIGATOR
#define APPLICATION_QUERY OF_NAVIGATOR
#define INVOCATION_NOTIFICATION OF_NAVIGATOR
#define LOCALE_NOTIFICATION OF_LOCALE
#define FONT_NOTIFICATION OF_FONT
#include "platform/desktop/Notifications.def"
#undef OF_FONT
#undef OF_LOCALE
#undef OF_NAVIGATOR
#undef TELL
  return concat("There is no notification \"", name, "\"");
}

}  // namespace Tessel::Platform
