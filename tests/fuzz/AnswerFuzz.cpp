// The answers to events: what each may change is worked out from what the chrome may rely on, and
// the rest of the event has to stay as it was. Main thread.
#include "engine/OrvWebEvents.h"
#include "tests/fuzz/Fuzzers.h"
#include "webview/events/EventFields.h"
#include "webview/events/EventForwarding.h"
#include "webview/events/Names.h"

#include <map>
#include <memory>
#include <sstream>

namespace fuzz {

namespace {

using rapidjson::Document;
using rapidjson::Value;
// What answers may change, as "key kind" pairs: of every event that is sent, and of these besides.
// Chromes depend on it; it is written down here and not derived from the table that is tested.
constexpr const char* answersOfAll = "setModal bool setPreventDefault bool ";
const std::map<std::string, const char*> answersOfSome{
    {"JavaScriptCallback", "setResult string"},
    {"JavaScriptWindowObjectCleared", "setScript string"},
    {"OpenWindow", "setAction CREATE|RECYCLE|DISCARD setIsPopup bool setView handle setWait bool"},
    {"UnknownProtocol", "setProtocolHandlerURL string setScheme string"},
    {"DialogRequested",
     "setAlertType int setData string setIsNew bool setIsProxy bool setPassword string setResult "
     "string setURL string setUsername string setWait bool setWaitHandle uint"},
    {"NetworkResourceRequested",
     "setAction ACCEPT|DENY|SUBSTITUTE|FILTER setBody string setReferrer string "
     "setSecurityOrigin string"},
    {"NetworkResourceOpened", "setMessage string setStatus int"},
    {"NetworkResourceHeaderReceived", "setKey string setValue string"},
    {"DownloadRequest",
     "setAction ActionNone|ActionSave|ActionDiscard|ActionPending|ActionMax setFilename string "
     "setMimeType string setTempFile string"},
    {"ProtocolHandler", "setResult string setTitle string"},
    {"ChooseFile", "setFileChosen string setWait bool setWaitHandle uint"},
    {"IsSearchProviderInstalled", "setResult int"},
    {"NotificationPermissionCheck", "setResult string setWait bool setWaitHandle uint"},
};

using Answers = std::vector<std::pair<std::string, std::string>>;
Answers answersOf(const OrvWebEvent& event) {
  const auto some = answersOfSome.find(eventTypeName(event.type()));
  std::istringstream stream(std::string(event.isSend() ? answersOfAll : "") +
                            (some == answersOfSome.end() ? "" : some->second));
  Answers answers;
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

// Whether the kind is a list of words with this one.
bool isWord(const std::string& kind, const std::string& word) {
  return kind.find('|') != std::string::npos && word.find('|') == std::string::npos &&
         ("|" + kind + "|").find("|" + word + "|") != std::string::npos;
}

// What a value of the answer leaves in the body's field; a web view is never found here.
void change(const std::string& kind, const Value* value, Value& field,
            Document::AllocatorType& memory) {
  const auto set = [&](auto&&... newValue) { field = Value(newValue...); };
  if (kind == "string" && (!value || value->IsNull())) return set("", memory);
  if (!value) return;
  if (kind == "bool" && value->IsBool()) set(value->GetBool());
  if (kind == "int" && value->IsInt()) set(value->GetInt());
  if (kind == "uint" && value->IsUint()) set(value->GetUint());
  if (!value->IsString()) return;
  if (kind == "string" || isWord(kind, value->GetString())) {
    set(value->GetString(), memory);
  }
}

Document parsed(const std::string& text) {
  Document document;
  document.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size());
  return document;
}

// The answer is well-formed when it may change anything at all.
bool check(OrvWebEvent& event, const std::string& answer) {
  Document expected = parsed(jsonFromObject(event).toStdString());
  const Document document = parsed(answer);
  const bool wellFormed = !document.HasParseError() && document.IsObject();
  if (wellFormed) {
    for (const auto& [key, kind] : answersOf(event)) {
      const auto member = document.FindMember(key.c_str());
      change(kind, member == document.MemberEnd() ? nullptr : &member->value,
             expected[fieldOf(key).c_str()], expected.GetAllocator());
    }
  }
  jsonOnObject(event, Tessel::Platform::String(answer));
  const std::string body = jsonFromObject(event).toStdString();
  const Document after = parsed(body);
  require(body.empty() == expected.HasParseError() && (body.empty() || after == expected),
          eventTypeName(event.type()), answer + "\n" + body);
  return wellFormed;
}

}  // namespace

std::vector<std::unique_ptr<OrvWebEvent>> everyEvent() {
  std::vector<std::unique_ptr<OrvWebEvent>> events;
  const auto add = [&]<int Type>(std::integral_constant<int, Type>) {
    using Class = typename fields::EventClass<Type>::type;
    if constexpr (std::is_same_v<Class, OrvWebEvent>) {
      events.push_back(std::make_unique<Class>(OrvWebEvent::Type(Type)));
    } else if constexpr (std::is_same_v<Class, OrvWebJavaScriptCallbackEvent>) {
      events.push_back(std::make_unique<Class>(std::vector<const char*>{"f"}));
    } else if constexpr (std::is_same_v<Class, OrvWebPropertyChangedEvent>) {
      events.push_back(std::make_unique<Class>(Class::PropertyMax));
    } else {
      events.push_back(std::make_unique<Class>());
      // Of a class for two types, the other one.
      if (events.back()->type() != Type) *events.back() = OrvWebEvent(OrvWebEvent::Type(Type));
    }
  };
  [&]<int... Types>(std::integer_sequence<int, Types...>) {
    (add(std::integral_constant<int, Types>()), ...);
  }
  (std::make_integer_sequence<int, OrvWebEvent::typeCount>());
  return events;
}

std::vector<std::string> answerKeys() {
  std::vector<std::string> keys;
  for (const auto& event : everyEvent()) {
    for (const auto& [key, kind] : answersOf(*event)) keys.push_back(key);
  }
  return keys;
}

void fuzzAnswers(test_support::Mutator& mutator, Tally& tally) {
  // Kept: each answer finds what the ones before have left.
  static const auto events = everyEvent();
  OrvWebEvent& event = *mutator.oneOf(events);
  std::vector<std::string> keys;
  for (const auto& [key, kind] : answersOf(event)) keys.push_back(key);
  std::string answer = object(mutator, keys);
  if (mutator.below(2) != 0) answer = mutator.damage(answer);
  ++tally.all;
  if (check(event, answer)) ++tally.accepted;
}

}  // namespace fuzz
