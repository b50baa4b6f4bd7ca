// The events in the reference, from the tables and field lists. Main thread.
#include "tools/reference/Events.h"

#include "engine/OrvWebView.h"
#include "webview/commands/CommandMessages.h"
#include "webview/events/EventForwarding.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>

namespace reference {

namespace {

// The TypeScript type of an answer's value for a setter.
template <typename Value>
std::string answerType() {
  if constexpr (std::is_same_v<Value, bool>) {
    return "boolean";
  } else if constexpr (std::is_arithmetic_v<Value>) {
    return "number";
  } else if constexpr (std::is_same_v<Value, String>) {
    return "string | null";
  } else if constexpr (std::is_same_v<Value, OrvWebView*>) {
    return "NumberText";
  } else {
    static_assert(NamedEnumeration<Value>, "an answer brings nothing else");
    return nameOfType<Value>;
  }
}

template <typename Class, typename Value>
std::string answerTypeOf(void (Class::*)(Value)) {
  return answerType<std::decay_t<Value>>();
}

template <typename T>
std::vector<Member> settersOf() {
  std::vector<Member> members;
  fields::forEachInKeyOrder<fields::SettersOf<T>>([&](const auto& entry) {
    members.push_back({std::string(entry.key), answerTypeOf(entry.set)});
  });
  return members;
}

template <typename T>
std::string answerName() {
  return std::string(nameOfType<T>) + "Answer";
}

class Collector {
 public:
  explicit Collector(Records& records) : records_(records) {
    result_.bodies.push_back({nameOfType<OrvWebEvent>, {}, membersOf<OrvWebEvent>(records_)});
    result_.bodies.push_back({nameOfType<OrvWebSendEvent>, nameOfType<OrvWebEvent>,
                              membersOf<OrvWebSendEvent>(records_)});
    result_.answers.push_back({answerName<OrvWebSendEvent>(), {}, settersOf<OrvWebSendEvent>()});
  }

  template <int type>
  void add(const char* name, const char* unheard) {
    using Class = typename fields::EventClass<type>::type;
    Event& event = result_.events.emplace_back();
    event.name = name;
    event.unheard = unheard;
    if constexpr (std::is_same_v<Class, OrvWebEvent>) {
      // Some of these have no body; classes with fields always have one.
      if (!jsonFromObject(OrvWebEvent(static_cast<OrvWebEvent::Type>(type))).isEmpty()) {
        event.body = nameOfType<Class>;
      }
    } else {
      event.body = nameOfType<Class>;
      addClass<Class>();
    }
    if constexpr (std::is_base_of_v<OrvWebSendEvent, Class>) event.answer = answerName<Class>();
  }

  void addProperty(const char* name, OrvWebPropertyChangedEvent::Property property,
                   std::string type) {
    if (property == OrvWebPropertyChangedEvent::PropertyMax) return;
    check(name, type, propertyValueText(view_, property).toStdString());
    result_.properties.push_back({std::string("Property") + name + "Event", name, std::move(type)});
  }

  template <typename Record>
  void addOfProgram(const char* name) {
    Event& event = result_.ofProgram.emplace_back();
    event.name = name;
    if constexpr (!std::is_void_v<Record>) event.body = declaredRecord<Record>(records_);
  }

  Events take() { return std::move(result_); }

 private:
  template <typename Class>
  void addClass() {
    for (const Interface& known : result_.bodies) {
      if (known.name == nameOfType<Class>) return;
    }
    constexpr bool isSent = std::is_base_of_v<OrvWebSendEvent, Class>;
    result_.bodies.push_back({nameOfType<Class>,
                              isSent ? nameOfType<OrvWebSendEvent> : nameOfType<OrvWebEvent>,
                              membersOf<Class>(records_)});
    if constexpr (isSent) {
      result_.answers.push_back(
          {answerName<Class>(), answerName<OrvWebSendEvent>(), settersOf<Class>()});
    }
  }

  // Checks the documented type against a property of a new web view.
  static void check(const char* name, const std::string& type, const std::string& text) {
    bool fits = true;
    if (type == "''") {
      fits = text.empty();
    } else if (type == "TruthText") {
      fits = text == "true" || text == "false";
    } else if (type == "NumberText") {
      char* end = nullptr;
      std::strtod(text.c_str(), &end);
      fits = !text.empty() && *end == '\0';
    } else if (type.starts_with("JsonText")) {
      fits = text.starts_with("{") || text.starts_with("[");
    }
    if (fits) return;
    std::fprintf(stderr, "generate_reference: %s is told as %s, and is \"%s\"\n", name,
                 type.c_str(), text.c_str());
    std::exit(EXIT_FAILURE);
  }

  Records& records_;
  Events result_;
  OrvWebView view_;
};

template <typename T>
std::string propertyType(Records& records) {
  if constexpr (std::is_void_v<T>) {
    return "''";
  } else if constexpr (std::is_same_v<T, bool>) {
    return "TruthText";
  } else {
    return resultText<T>(records).typeScript;
  }
}

using TypeByName = std::map<std::string, std::string, std::less<>>;

// By property name of settings and state.
TypeByName typesOfTables(Records& records) {
  TypeByName types;
#define SETTING(type, getter, setter, start, property) \
  types[#property] = propertyType<type>(records);
#define STATE(type, getter, start, property) types[#property] = propertyType<type>(records);
#include "engine/PageState.def"
#include "engine/WebViewSettings.def"
  return types;
}

// By command name, which is the getter's.
TypeByName typesOfCommands(Records& records) {
  TypeByName types;
#define COMMAND(number, name, ...) COMMAND_AS(number, name, name)
#define COMMAND_AS(number, name, operation, ...) \
  types[#name] = propertyType<commands::CommandTraitsOf<&WebView::operation>::Result>(records);
#include "registry/Commands.def"
#undef COMMAND_AS
#undef COMMAND
  return types;
}

}  // namespace

Events eventsOfWebViews(Records& records) {
  Collector collector(records);
#define EVENT_TYPE(name, unheard) collector.add<OrvWebEvent::name>(#name, unheard);
#include "engine/EventTypes.def"
#define PROGRAM_EVENT(name, record, text) collector.addOfProgram<record>(#name);
#include "webview/events/ProgramEvents.def"
  const TypeByName ofTables = typesOfTables(records);
  const TypeByName ofCommands = typesOfCommands(records);
  const auto typeOf = [&](const std::string& name) -> std::string {
    if (const auto found = ofTables.find(name); found != ofTables.end()) return found->second;
    // Other properties have a getter too: zOrder, isVisible.
    std::string getter = name;
    getter[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(getter[0])));
    for (const std::string& candidate : {getter, "is" + name}) {
      const auto found = ofCommands.find(candidate);
      if (found != ofCommands.end()) return found->second;
    }
    return "''";
  };
#define PROPERTY(name) \
  collector.addProperty(#name, OrvWebPropertyChangedEvent::name, typeOf(#name));
#include "engine/Properties.def"
  return collector.take();
}

std::vector<Enumeration> enumerations() {
  return {
#define ENUMERATION(Type, first) {#Type, {
#define NAME(name) #name,
#define END_ENUMERATION \
  }                     \
  }                     \
  ,
#include "engine/Enumerations.def"
  };
}

}  // namespace reference
