// The native functions "pps.*". UI thread, but for the events, which come on the web-engine thread.
#include "bindings/PPSBinding.h"

#include "bindings/PPSJson.h"
#include "platform/loop/MessageClient.h"
#include "registry/NativeFunctions.h"
#include "webview/WebView.h"
#include "webview/WebViewManager.h"

#include <array>
#include <bit>
#include <cstdint>
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

// The context pointer of an object's event handler encodes the id.
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

}  // namespace

PPSBinding& PPSBinding::instance() {
  static auto* binding = new PPSBinding;
  return *binding;
}

PPSBinding::PPSBinding() : chrome_(WebViewManager::instance().rootWebView()) {
  arguments::registerFunctions<"PPSBinding", PPSBinding>(BindingManager::instance());
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

String PPSBinding::open(unsigned int number, const String& path, int mode, int flags,
                        int permissions) {
  constexpr const char* failed = R"({"result":false})";
  const int id = static_cast<int>(number);
  if (isTaken(id)) return failed;
  const auto object = std::make_shared<PPSObject>(path, static_cast<PPSObject::PPSMode>(mode),
                                                  Tessel::Platform::webKitThreadMessageClient());
  object->setEventFunc(
      [](void* context, const PPSEvent& it) { instance().deliver(idOf(context), it); },
      contextOf(id));
  PPSValue value;
  {
    // The first events may come at once, and must find it.
    const std::lock_guard lock(mutex_);
    if (!object->open(flags, permissions, &value, true)) return failed;
    objects_.emplace(id, object);
  }
  return concat(R"({"result":true,"data":)", ppsValueToJson(value), "}");
}

const char* PPSBinding::write(unsigned int number, const String& attributes) {
  const int id = static_cast<int>(number);
  const Object object = find(id);
  bool succeeded = object != nullptr;
  if (object) {
    String problem;
    const auto lines = ppsLinesFromJson(attributes, problem);
    if (!lines) deliver(id, {PPSEvent::WriteFailed, problem, {}});
    succeeded = lines && (lines->isEmpty() || object->write(*lines));
  }
  return succeeded ? "true" : "false";
}

void PPSBinding::close(unsigned int number) {
  if (const Object object = find(static_cast<int>(number))) object->close();
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
  // Synchronous, since the id is free for reuse afterwards: a later notification would be taken for
  // the end of a new object that the chrome has opened under the same id.
  chrome->executeJavaScriptFunctionSync(eventFunction(), arguments);
  const std::lock_guard lock(mutex_);
  objects_.erase(id);
}
