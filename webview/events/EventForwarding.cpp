// Forwards events of web views to the chrome, and applies its answers. UI thread.
#include "webview/events/EventForwarding.h"

#include "engine/OrvWebView.h"
#include "registry/Arguments.h"
#include "registry/BindingManager.h"
#include "webview/WebView.h"
#include "webview/WebViewManager.h"
#include "webview/events/EventFields.h"

#include <algorithm>
#include <array>

using Tessel::Platform::String;

namespace {

// Types without a JSON body.
constexpr bool hasBody(int type) {
  return !(type >= OrvWebEvent::UpdateWebGLFilter && type <= OrvWebEvent::KeyEvent) &&
         type != OrvWebEvent::TypeMax;
}

// The list of an event class and those of its base classes.
template <template <typename> typename ListOf, typename Event>
struct WithInherited {
  static constexpr auto list = [] {
    if constexpr (std::is_same_v<Event, OrvWebEvent>) {
      return ListOf<OrvWebEvent>::list;
    } else if constexpr (std::is_base_of_v<OrvWebSendEvent, Event>) {
      return std::tuple_cat(ListOf<OrvWebEvent>::list, ListOf<OrvWebSendEvent>::list,
                            ListOf<Event>::list);
    } else {
      return std::tuple_cat(ListOf<OrvWebEvent>::list, ListOf<Event>::list);
    }
  }();
};

template <typename Event>
String bodyOf(const OrvWebEvent& base) {
  using List = WithInherited<fields::FieldsOf, Event>;
  using Text = fields::ObjectText<List, fields::keyOrderOf<List>>;
  return Text::withValues(static_cast<const Event&>(base), [](const auto& values, auto places) {
    return json::textIn(Text::room(values, places),
                        [&](char* out) { return Text::write(out, values, places); });
  });
}

// "jsonOnObject_" and the class name: the function name in error reports about an answer.
template <typename Event>
constexpr auto jsonOnObjectName() {
  constexpr std::string_view prefix = "jsonOnObject_";
  constexpr std::string_view name = fields::classNameOf<Event>;
  std::array<char, prefix.size() + name.size() + 1> text{};
  std::copy(name.begin(), name.end(), std::copy(prefix.begin(), prefix.end(), text.begin()));
  return text;
}

template <typename Event>
void applyTo(OrvWebEvent& base, const rapidjson::Value& answer) {
  static constexpr auto function = jsonOnObjectName<Event>();
  auto& event = static_cast<Event&>(base);
  fields::forEachInKeyOrder<WithInherited<fields::SettersOf, Event>>([&](const auto& entry) {
    const rapidjson::Value key(
        rapidjson::StringRef(entry.key.data(), static_cast<rapidjson::SizeType>(entry.key.size())));
    const auto member = answer.FindMember(key);
    fields::apply(event, entry.set, member == answer.MemberEnd() ? nullptr : &member->value,
                  fields::AnswerErrors{function.data()});
  });
}

struct Row {
  String (*body)(const OrvWebEvent&) = nullptr;
  // Null for events that take no answer.
  void (*apply)(OrvWebEvent&, const rapidjson::Value&) = nullptr;
};

template <int Type>
constexpr Row rowOf() {
  using Event = typename fields::EventClass<Type>::type;
  Row row;
  if constexpr (hasBody(Type)) row.body = bodyOf<Event>;
  if constexpr (std::is_base_of_v<OrvWebSendEvent, Event>) row.apply = applyTo<Event>;
  return row;
}

constexpr auto rows = []<std::size_t... Types>(std::index_sequence<Types...>) {
  return std::array{rowOf<static_cast<int>(Types)>()...};
}
(std::make_index_sequence<OrvWebEvent::typeCount>());

const Row* rowFor(const OrvWebEvent& event) {
  const int type = event.type();
  return type >= 0 && type < OrvWebEvent::typeCount ? &rows[static_cast<std::size_t>(type)]
                                                    : nullptr;
}

// Texts, names and numbers as they are, everything else as JSON.
template <typename T>
String valueText(const T& value) {
  if constexpr (std::is_same_v<T, String>) {
    return value;
  } else if constexpr (NamedEnumeration<T>) {
    return nameOf(value);
  } else if constexpr (std::is_floating_point_v<T>) {
    return String::fromNumber(value);
  } else {
    return fields::textOf(value);
  }
}

}  // namespace

namespace fields {

String Form<OrvWebView*>::of(const OrvWebView* view) {
  const auto* webView = dynamic_cast<const WebView*>(view);
  return String::fromUnsignedInteger(webView ? WebViewManager::instance().handleForWebView(webView)
                                             : 0);
}

void AnswerErrors::report(const char* word) const {
  BindingManager::reportArgumentError(0, word, function);
}

bool webViewFrom(const char* handle, const AnswerErrors& errors, OrvWebView*& view) {
  unsigned int number = 0;
  if (!arguments::Value<unsigned int>::parse(handle, number)) {
    errors.report(handle);
    return false;
  }
  WebViewManager& manager = WebViewManager::instance();
  view = manager.webViewForHandle(number);
  if (!view) {
    manager.informChromeOfError(
        Tessel::Platform::concat("Can't get webview for this handle: ", handle));
  }
  return view != nullptr;
}

}  // namespace fields

String jsonFromObject(const OrvWebEvent& event) {
  const Row* row = rowFor(event);
  return row && row->body ? row->body(event) : String();
}

void jsonOnObject(OrvWebEvent& event, const String& answer) {
  const Row* row = rowFor(event);
  if (!row || !row->apply || answer.isEmpty()) return;
  rapidjson::Document document;
  // Iterative, since deeply nested JSON would exhaust the stack.
  document.Parse<rapidjson::kParseIterativeFlag>(answer.utf8(), answer.length());
  if (document.HasParseError() || !document.IsObject()) return;
  row->apply(event, document);
}

String propertyValueText(const OrvWebView& view, OrvWebPropertyChangedEvent::Property property) {
  switch (property) {
    case OrvWebPropertyChangedEvent::Viewport:
      return valueText(view.viewport());
    case OrvWebPropertyChangedEvent::Active:
      return valueText(view.isActive());
    case OrvWebPropertyChangedEvent::WindowUniqueId:
      return valueText(view.windowUniqueId());
    case OrvWebPropertyChangedEvent::Visible:
      return valueText(view.isVisible());
    case OrvWebPropertyChangedEvent::ZOrder:
      return valueText(view.zOrder());
    case OrvWebPropertyChangedEvent::PluginFullScreen:
      return valueText(view.isPluginFullScreen());
    case OrvWebPropertyChangedEvent::CertificateInfo:
      return fields::textOf(view.certificateInfo());
    case OrvWebPropertyChangedEvent::ZoomFactor:
      return "1";
    default:
      break;
  }
    // The tables of settings and page state name the property.
#define SETTING(type, getter, setter, start, itsProperty) \
  if (property == OrvWebPropertyChangedEvent::itsProperty) return valueText(view.getter());
#define STATE(type, getter, start, itsProperty) \
  if (property == OrvWebPropertyChangedEvent::itsProperty) return valueText(view.getter());
#include "engine/PageState.def"
#include "engine/WebViewSettings.def"
  return String();
}

void forwardWebEvent(const OrvWebView& view, OrvWebEvent& event, EventSink& sink) {
  const Row* row = rowFor(event);
  if (!row) return;
  const EventType type = eventTypeOf(event.type());
  if (type == EventType::PropertyChanged) {
    const auto property = static_cast<OrvWebPropertyChangedEvent&>(event).property();
    if (property >= 0 && property < OrvWebPropertyChangedEvent::PropertyMax) {
      sink.post(changeOf(property), propertyValueText(view, property));
    }
  }
  const String body = row->body ? row->body(event) : String();
  if (row->apply) {
    jsonOnObject(event, sink.send(type, body));
  } else {
    sink.post(type, body);
  }
}
