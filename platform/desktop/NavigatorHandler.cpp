// Routes notifications and requests between the program and the platform. Main thread.
#include "platform/desktop/NavigatorHandler.h"

namespace Tessel::Platform {

namespace {

String textOf(const String& value) {
  return value;
}
String textOf(bool value) {
  return value ? "true" : "false";
}
String textOf(int value) {
  return String::fromSignedInteger(value);
}

template <typename... Values>
std::vector<String> textsOf(const Values&... values) {
  return {textOf(values)...};
}

bool isEmpty(bool answer) {
  return !answer;
}
bool isEmpty(int answer) {
  return answer == 0;
}
bool isEmpty(const String& answer) {
  return answer.isEmpty();
}

// Asks every service; the first non-empty answer counts.
template <typename Result, typename List, typename Ask>
Result askAll(List& list, Ask ask) {
  if constexpr (std::is_void_v<Result>) {
    list.forEach(ask);
  } else {
    Result answer{};
    list.forEach([&](auto& each) {
      Result its = ask(each);
      if (isEmpty(answer)) answer = std::move(its);
    });
    return answer;
  }
}

}  // namespace

NavigatorHandler& NavigatorHandler::instance() {
  static auto* handler = new NavigatorHandler;
  return *handler;
}

#define HANDLER_OPERATION(name, Result, parameters, arguments, text)                             \
  Result NavigatorHandler::name parameters {                                                     \
    return askAll<Result>(listeners_,                                                            \
                          [&](NavigatorListener& listener) { return listener.name arguments; }); \
  }
#define APPLICATION_NOTIFICATION HANDLER_OPERATION
#define APPLICATION_QUERY HANDLER_OPERATION
#define INVOCATION_NOTIFICATION HANDLER_OPERATION
#include "platform/desktop/Notifications.def"
#undef HANDLER_OPERATION

#define REQUEST(name, Result, parameters, arguments)                                          \
  Result NavigatorHandler::name parameters {                                                  \
    if (watcher_) watcher_(#name, textsOf arguments);                                         \
    return askAll<Result>(services_,                                                          \
                          [&](NavigatorService& service) { return service.name arguments; }); \
  }
#include "platform/desktop/Requests.def"

}  // namespace Tessel::Platform
