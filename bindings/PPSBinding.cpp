// The native functions "pps.*". UI thread, but for the events, which come on the web-engine thread.
#include "bindings/PPSBinding.h"

#include "bindings/PPSJson.h"
#include "platform/loop/MessageClient.h"
#include "registry/BindingManager.h"
#include "webview/WebView.h"
#include "webview/WebViewManager.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <utility>
#include <vector>

using Tessel::Platform::concat;
using Tessel::Platform::GuardedPin;
using Tessel::Platform::PPSEvent;
using Tessel::Platform::PPSObject;
using Tessel::Platform::PPSValue;
using Tessel::Platform::String;

namespace {

// What the third argument of an event is.
enum class Body { None, Value, Message };

struct EventForm {
  const char* name;
  Body body = Body::None;
  bool isLast = false;
};

// By the numbers of PPSEvent::Type.
constexpr std::array eventForms{
    EventForm{"FirstReadComplete", Body::Value},
    EventForm{"NewData", Body::Value},
    EventForm{"Opened"},
    EventForm{"Closed", Body::None, true},
    EventForm{"OpenFailed", Body::Message, true},
    EventForm{"ReadFailed", Body::Message},
    EventForm{"WriteFailed", Body::Message},
};

EventForm formOf(int type) {
  const auto index = static_cast<std::size_t>(type);
  return type >= 0 && index < eventForms.size() ? eventForms[index] : EventForm{"UNKNOWN"};
}

const char* argument(const OrvWebJavaScriptCallbackEvent& event, unsigned int index) {
  const char* text = event.args()[index];
  return text ? text : "";
}

int number(const OrvWebJavaScriptCallbackEvent& event, unsigned int index) {
  return static_cast<int>(std::strtoul(argument(event, index), nullptr, 10));
}

bool wrongCount(const OrvWebJavaScriptCallbackEvent& event, int required, const char* name) {
  return BindingManager::checkArgumentCount(static_cast<int>(event.numArgs()), required, name);
}

// An object has one pointer for whoever hears of its events; an id is all that there is to say.
void* contextOf(int id) {
  return std::bit_cast<void*>(static_cast<std::intptr_t>(id));
}
int idOf(void* context) {
  return static_cast<int>(std::bit_cast<std::intptr_t>(context));
}

const std::vector<String>& eventFunction() {
  static const auto* path = new std::vector<String>{"chrome", "internal", "pps", "onEvent"};
  return *path;
}

template <auto operation>
void handle(OrvWebJavaScriptCallbackEvent* event) {
  (PPSBinding::instance().*operation)(*event);
}

}  // namespace

PPSBinding& PPSBinding::instance() {
  static auto* binding = new PPSBinding;
  return *binding;
}

PPSBinding::PPSBinding() : chrome_(WebViewManager::instance().rootWebView()) {
  BindingManager& bindings = BindingManager::instance();
  bindings.registerBinding("pps.open", handle<&PPSBinding::open>);
  bindings.registerBinding("pps.write", handle<&PPSBinding::write>);
  bindings.registerBinding("pps.close", handle<&PPSBinding::close>);
}

bool PPSBinding::isTaken(int id) {
  const std::lock_guard lock(mutex_);
  return objects_.contains(id);
}

PPSBinding::Object PPSBinding::find(int id) {
  const std::lock_guard lock(mutex_);
  const auto found = objects_.find(id);
  return found == objects_.end() ? nullptr : found->second;
}

void PPSBinding::open(OrvWebJavaScriptCallbackEvent& event) {
  if (wrongCount(event, 6, "jsOpen")) return;
  event.setResult(R"({"result":false})");
  const int id = number(event, 1);
  if (isTaken(id)) return;
  const auto object = std::make_shared<PPSObject>(argument(event, 2),
                                                  static_cast<PPSObject::PPSMode>(number(event, 3)),
                                                  Tessel::Platform::webKitThreadMessageClient());
  object->setEventFunc(
      [](void* context, const PPSEvent& it) { instance().deliver(idOf(context), it); },
      contextOf(id));
  PPSValue value;
  {
    // The first events may come at once, and must find it.
    const std::lock_guard lock(mutex_);
    if (!object->open(number(event, 4), number(event, 5), &value, true)) return;
    objects_.emplace(id, object);
  }
  event.setResult(concat(R"({"result":true,"data":)", ppsValueToJson(value), "}"));
}

void PPSBinding::write(OrvWebJavaScriptCallbackEvent& event) {
  if (wrongCount(event, 3, "jsWrite")) return;
  const int id = number(event, 1);
  const Object object = find(id);
  bool succeeded = object != nullptr;
  if (object) {
    String problem;
    const auto lines = ppsLinesFromJson(argument(event, 2), problem);
    if (!lines) deliver(id, {PPSEvent::WriteFailed, problem, {}});
    succeeded = lines && (lines->isEmpty() || object->write(*lines));
  }
  event.setResult(succeeded ? "true" : "false");
}

void PPSBinding::close(OrvWebJavaScriptCallbackEvent& event) {
  if (wrongCount(event, 2, "jsClose")) return;
  if (const Object object = find(number(event, 1))) object->close();
}

void PPSBinding::deliver(int id, const PPSEvent& event) {
  const GuardedPin<WebView> chrome(chrome_);
  if (!chrome) return;
  const EventForm form = formOf(event.type);
  Object ended;  // goes after the lock
  {
    const std::lock_guard lock(mutex_);
    const auto found = objects_.find(id);
    if (found == objects_.end() || !found->second) return;
    if (form.isLast) ended = std::move(found->second);
  }
  ended.reset();
  std::vector<JavaScriptVariant> arguments{id, form.name};
  if (form.body == Body::Value) arguments.emplace_back(ppsValueToJson(event.value));
  if (form.body == Body::Message) arguments.emplace_back(event.message);
  if (!form.isLast) {
    chrome->executeJavaScriptFunction(eventFunction(), arguments);
    return;
  }
  // The id is free when the chrome has heard it: told of later, the end would be that of an object
  // that the chrome has opened under the same id meanwhile.
  chrome->executeJavaScriptFunctionSync(eventFunction(), arguments);
  const std::lock_guard lock(mutex_);
  objects_.erase(id);
}
