// What is in JSON of events beside their fields: names of enumerations and handles of web views,
// and the setters that an answer may call. Any thread, but for answers, which are the UI thread's.
#pragma once

#include "engine/OrvWebEvent.h"
#include "engine/RecordFields.h"
#include "engine/RecordJson.h"
#include "platform/base/JsonWriter.h"
#include "platform/base/String.h"
#include "webview/events/EnumerationNames.h"

#include <rapidjson/document.h>

#include <string_view>
#include <tuple>
#include <type_traits>

class OrvWebView;

namespace fields {

using Tessel::Platform::JsonWriter;

template <NamedEnumeration Type>
struct Form<Type> {
  static json::PlainText of(Type value) { return {nameOf(value)}; }
};
// A web view goes by its handle.
template <>
struct Form<OrvWebView*> {
  static String of(const OrvWebView* view);
};

// A key of an answer and the event's setter for its value. The type of the parameter says which
// values are taken.
template <typename Method>
struct Setter {
  std::string_view key;
  Method set;
};
template <typename Method>
constexpr Setter<Method> setter(std::string_view key, Method set) {
  return {key, set};
}

// Specialised for each event class that takes an answer.
template <typename Event>
struct SettersOf {
  static constexpr std::tuple<> list{};
};

// What the body writes with a writer of its own.
template <typename Body>
Tessel::Platform::String jsonText(Body&& body) {
  rapidjson::StringBuffer buffer;
  JsonWriter writer(buffer);
  body(writer);
  return std::string_view(buffer.GetString(), buffer.GetSize());
}

// An answer that is being applied: what is wrong with a word of it is the chrome's mistake, and it
// is told which function it made it in.
struct AnswerErrors {
  const char* function;
  void report(const char* word) const;
};

// Calls the setter when the value is of a kind that it takes; an absent one is null.
template <typename Event, typename Base>
void apply(Event& event, void (Base::*set)(bool), const rapidjson::Value* value,
           const AnswerErrors&) {
  if (value && value->IsBool()) (event.*set)(value->GetBool());
}
template <typename Event, typename Base>
void apply(Event& event, void (Base::*set)(int), const rapidjson::Value* value,
           const AnswerErrors&) {
  if (value && value->IsInt()) (event.*set)(value->GetInt());
}
template <typename Event, typename Base>
void apply(Event& event, void (Base::*set)(unsigned int), const rapidjson::Value* value,
           const AnswerErrors&) {
  if (value && value->IsUint()) (event.*set)(value->GetUint());
}
template <typename Event, typename Base, NamedEnumeration Type>
void apply(Event& event, void (Base::*set)(Type), const rapidjson::Value* value,
           const AnswerErrors& errors) {
  if (!value || !value->IsString()) return;
  bool notFound = false;
  const Type number = fromName<Type>(value->GetString(), notFound);
  if (notFound) return errors.report(value->GetString());
  (event.*set)(number);
}
// A handle in decimal; false, and the mistake is reported, when it names no web view.
bool webViewFrom(const char* handle, const AnswerErrors& errors, OrvWebView*& view);
template <typename Event, typename Base>
void apply(Event& event, void (Base::*set)(OrvWebView*), const rapidjson::Value* value,
           const AnswerErrors& errors) {
  OrvWebView* view = nullptr;
  if (value && value->IsString() && webViewFrom(value->GetString(), errors, view)) {
    (event.*set)(view);
  }
}
template <typename Event, typename Base>
void apply(Event& event, void (Base::*set)(const Tessel::Platform::String&),
           const rapidjson::Value* value, const AnswerErrors&) {
  // No text is the empty text; something else is no text at all.
  if (!value || value->IsNull()) return (event.*set)(Tessel::Platform::String());
  if (value->IsString()) (event.*set)(Tessel::Platform::String(value->GetString()));
}

}  // namespace fields
