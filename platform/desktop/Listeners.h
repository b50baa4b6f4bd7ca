// The listener interfaces of platform notifications. Main thread.
#pragma once

#include "platform/base/String.h"

#include <tuple>

namespace Tessel::Platform {

// Defaults do nothing; queries return false.
#define LISTENER_OPERATION(name, Result, parameters, arguments, text) \
  virtual Result name parameters {                                    \
    static_cast<void>(std::tie arguments);                            \
    return Result();                                                  \
  }

class NavigatorListener {
 public:
  virtual ~NavigatorListener() = default;
#define APPLICATION_NOTIFICATION LISTENER_OPERATION
#define APPLICATION_QUERY LISTENER_OPERATION
#define INVOCATION_NOTIFICATION LISTENER_OPERATION
#include "platform/desktop/Notifications.def"
};

class LocaleListener {
 public:
  virtual ~LocaleListener() = default;
#define LOCALE_NOTIFICATION LISTENER_OPERATION
#include "platform/desktop/Notifications.def"
};

class FontInfoListener {
 public:
  virtual ~FontInfoListener() = default;
#define FONT_NOTIFICATION LISTENER_OPERATION
#include "platform/desktop/Notifications.def"
};
#undef LISTENER_OPERATION

}  // namespace Tessel::Platform
