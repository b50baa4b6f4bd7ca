// The table of all notifications, without the code that raises them: the control client links it
// too. Any thread: constants.
#include "platform/desktop/Notifications.h"

#include <algorithm>

namespace Tessel::Platform {

namespace {

template <typename Signature>
constexpr unsigned countOf = 0;
template <typename Result, typename... Parameters>
constexpr unsigned countOf<Result(Parameters...)> = sizeof...(Parameters);

#define ROW(group, name, Result, parameters, arguments, text) \
  {group, #name, #arguments, countOf<Result parameters>, text},
#define OF_APPLICATION(...) ROW("application", __VA_ARGS__)
#define OF_INVOCATION(...) ROW("invocation", __VA_ARGS__)

constexpr Notification table[] = {
#define APPLICATION_NOTIFICATION OF_APPLICATION
#define APPLICATION_QUERY OF_APPLICATION
#define LOCALE_NOTIFICATION OF_APPLICATION
#define FONT_NOTIFICATION OF_APPLICATION
#define INVOCATION_NOTIFICATION OF_INVOCATION
#include "platform/desktop/Notifications.def"
};
#undef OF_INVOCATION
#undef OF_APPLICATION
#undef ROW

}  // namespace

std::span<const Notification> notifications() {
  return table;
}

const Notification* notificationNamed(std::string_view name) {
  const auto* const found = std::find_if(std::begin(table), std::end(table),
                                         [&](const auto& row) { return name == row.name; });
  return found == std::end(table) ? nullptr : found;
}

}  // namespace Tessel::Platform
