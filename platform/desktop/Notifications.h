// The table of all notifications, for those who raise them by name. Main thread for raising.
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

// In the order of the table.
std::span<const Notification> notifications();
const Notification* notificationNamed(std::string_view name);

// Raises it, as if the platform had. What is wrong with it, else nothing: an unknown name, a wrong
// count, an argument that is no number where one is needed.
std::optional<String> raiseNotification(const String& name, std::span<const String> arguments);

}  // namespace Tessel::Platform
