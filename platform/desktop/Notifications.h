// The table of all notifications, for raising them by name. Main thread for raising.
#pragma once

#include "platform/base/String.h"

#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace Tessel::Platform {

struct Notification {
  const char* group;       // application or invocation, as in chrome.internal
  const char* name;        // "onWindowState"
  const char* parameters;  // "(state)"
  unsigned count;          // of the parameters
  const char* text;        // what it means, one or two sentences
};

// In table order.
std::span<const Notification> notifications();
const Notification* notificationNamed(std::string_view name);

// Raises it as if the platform had. Returns the error, if any: unknown name, wrong number of
// arguments, or an argument that is not a number where one is required.
std::optional<String> raiseNotification(const String& name, std::span<const String> arguments);

}  // namespace Tessel::Platform
