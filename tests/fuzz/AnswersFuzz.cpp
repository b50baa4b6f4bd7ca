// The chrome's answers to events of every type, and the bodies of those events.
#include "engine/OrvWebEvents.h"
#include "tests/fuzz/FakeChrome.h"
#include "webview/events/EventFields.h"
#include "webview/events/EventForwarding.h"

namespace {

using Events = std::vector<std::unique_ptr<OrvWebEvent>>;

template <int Type>
void add(Events& events) {
  using Class = typename fields::EventClass<Type>::type;
  if constexpr (std::is_same_v<Class, OrvWebEvent>) {
    events.push_back(std::make_unique<Class>(OrvWebEvent::Type(Type)));
  } else if constexpr (std::is_same_v<Class, OrvWebJavaScriptCallbackEvent>) {
    events.push_back(std::make_unique<Class>(std::vector<const char*>{"f"}));
  } else if constexpr (std::is_same_v<Class, OrvWebPropertyChangedEvent>) {
    events.push_back(std::make_unique<Class>(Class::PropertyMax));
  } else {
    events.push_back(std::make_unique<Class>());
  }
}

Events everyEvent() {
  Events events;
  [&]<int... Types>(std::integer_sequence<int, Types...>) {
    (add<Types>(events), ...);
  }
  (std::make_integer_sequence<int, OrvWebEvent::typeCount>());
  return events;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Kept across inputs: each answer meets the state left by previous ones.
  static const auto* const events = new Events(everyEvent());
  auto& chrome = fuzz::FakeChrome::instance();
  fuzz::Input input(data, size);
  OrvWebEvent& event = *(*events)[input.ConsumeIntegralInRange<std::size_t>(0, events->size() - 1)];
  jsonOnObject(event, Tessel::Platform::String(input.ConsumeRemainingBytesAsString()));
  const auto body = jsonFromObject(event).toStdString();
  rapidjson::Document document;
  document.Parse<rapidjson::kParseIterativeFlag>(body.data(), body.size());
  fuzz::require(body.empty() || (!document.HasParseError() && document.IsObject()));
  chrome.forget();
  return 0;
}
