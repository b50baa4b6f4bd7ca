// The answers to events: what each may change is worked out from what the chrome may rely on, and
// the rest of the event has to stay as it was. Main thread.
#include "engine/OrvWebEvents.h"
#include "tests/fuzz/Fuzzers.h"
#include "tests/webview/EventFactsData.h"
#include "webview/events/EventFields.h"
#include "webview/events/EventForwarding.h"

#include <map>
#include <memory>
#include <sstream>

namespace fuzz {

namespace {

using rapidjson::Document;
using rapidjson::Value;
using test_support::eventFacts;

// "key kind" pairs of an event.
using Answers = std::vector<std::pair<std::string, std::string>>;
Answers answersOf(const char* facts) {
  Answers answers;
  std::istringstream stream(facts);
  for (std::string key, kind; stream >> key >> kind;) answers.emplace_back(key, kind);
  return answers;
}

// The key of the body under which a setter's value is seen.
std::string fieldOf(const std::string& setter) {
  static const std::map<std::string, std::string> apart{{"setModal", "isModal"},
                                                        {"setPreventDefault", "isPreventDefault"},
                                                        {"setTempFile", "tempFilename"},
                                                        {"setURL", "url"}};
  const auto found = apart.find(setter);
  if (found != apart.end()) return found->second;
  std::string field = setter.substr(3);
  field[0] = static_cast<char>(field[0] - 'A' + 'a');
  return field;
}

bool isWord(const std::string& event, const std::string& word) {
  const std::string enumeration = event == "OpenWindow"        ? "OrvWebOpenWindowAction"
                                  : event == "DownloadRequest" ? "OrvWebDownloadAction"
                                                               : "OrvWebResourceAction";
  for (const auto& facts : test_support::enumerationFacts) {
    std::istringstream stream(enumeration == facts.type ? facts.names : "");
    for (std::string name; stream >> name;) {
      if (name == word) return true;
    }
  }
  return false;
}

// What a value of the answer leaves in the body's field; a web view is never found here.
void change(const std::string& event, const std::string& kind, const Value* value, Value& field,
            Document::AllocatorType& memory) {
  const auto set = [&](auto&&... newValue) { field = Value(newValue...); };
  if (kind == "string" && (!value || value->IsNull())) return set("", memory);
  if (!value) return;
  if (kind == "bool" && value->IsBool()) set(value->GetBool());
  if (kind == "int" && value->IsInt()) set(value->GetInt());
  if (kind == "uint" && value->IsUint()) set(value->GetUint());
  if (!value->IsString()) return;
  if (kind == "string" || (kind == "keyword" && isWord(event, value->GetString()))) {
    set(value->GetString(), memory);
  }
}

Document parsed(const std::string& text) {
  Document document;
  document.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size());
  return document;
}

// The answer is well-formed when it may change anything at all.
bool check(std::size_t type, OrvWebEvent& event, const std::string& answer) {
  const auto& facts = eventFacts[type];
  Document expected = parsed(jsonFromObject(event).toStdString());
  const Document document = parsed(answer);
  const bool wellFormed = !document.HasParseError() && document.IsObject();
  if (wellFormed) {
    for (const auto& [key, kind] : answersOf(facts.answers)) {
      const auto member = document.FindMember(key.c_str());
      change(facts.name, kind, member == document.MemberEnd() ? nullptr : &member->value,
             expected[fieldOf(key).c_str()], expected.GetAllocator());
    }
  }
  jsonOnObject(event, Tessel::Platform::String(answer));
  const std::string body = jsonFromObject(event).toStdString();
  const Document after = parsed(body);
  require(body.empty() == expected.HasParseError() && (body.empty() || after == expected),
          facts.name, answer + "\n" + body);
  return wellFormed;
}

// Every event of the table, kept: each answer finds what the ones before have left.
std::vector<std::unique_ptr<OrvWebEvent>> everyEvent() {
  std::vector<std::unique_ptr<OrvWebEvent>> events;
  const auto add = [&]<int Type>(std::integral_constant<int, Type>) {
    using Class = typename fields::EventClass<Type>::type;
    if constexpr (std::is_same_v<Class, OrvWebEvent>) {
      events.push_back(std::make_unique<Class>(OrvWebEvent::Type(Type)));
    } else if constexpr (std::is_same_v<Class, OrvWebJavaScriptCallbackEvent>) {
      events.push_back(std::make_unique<Class>(std::vector<const char*>{"f"}));
    } else if constexpr (std::is_same_v<Class, OrvWebPropertyChangedEvent>) {
      events.push_back(std::make_unique<Class>(Class::Title));
    } else {
      events.push_back(std::make_unique<Class>());
    }
  };
  [&]<int... Types>(std::integer_sequence<int, Types...>) {
    (add(std::integral_constant<int, Types>()), ...);
  }
  (std::make_integer_sequence<int, OrvWebEvent::typeCount>());
  return events;
}

}  // namespace

std::vector<std::string> answerKeys() {
  std::vector<std::string> keys;
  for (const auto& facts : eventFacts) {
    for (const auto& [key, kind] : answersOf(facts.answers)) keys.push_back(key);
  }
  return keys;
}

void fuzzAnswers(test_support::Mutator& mutator, Tally& tally) {
  static const auto events = everyEvent();
  const std::size_t type = mutator.below(events.size());
  std::vector<std::string> keys;
  for (const auto& [key, kind] : answersOf(eventFacts[type].answers)) keys.push_back(key);
  std::string answer = object(mutator, keys);
  if (mutator.below(2) != 0) answer = mutator.damage(answer);
  ++tally.all;
  if (check(type, *events[type], answer)) ++tally.accepted;
}

}  // namespace fuzz
