// JSON of event fields beyond plain records (enumerations as names, web views as handles), and the
// application of answers. Any thread; answers on the UI thread.
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
// A web view is written as its handle.
template <>
struct Form<OrvWebView*> {
  static String of(const OrvWebView* view);
};

// A key of an answer and the event's setter for its value. The parameter type determines which
// values are accepted.
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

// The text written by the body with a writer.
template <typename Body>
Tessel::Platform::String jsonText(Body&& body) {
  rapidjson::StringBuffer buffer;
  JsonWriter writer(buffer);
  body(writer);
  return std::string_view(buffer.GetString(), buffer.GetSize());
}

// Reports errors of an answer to the chrome, with the function name for the report.
struct AnswerErrors {
  const char* function;
  void report(const char* word) const;
};

// Calls the setter if the value has the right type; null for a missing value.
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
// Parses a handle in decimal; false, and an error is reported, if there is no such web view.
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
  // Null or missing is the empty text; other types are ignored.
  if (!value || value->IsNull()) return (event.*set)(Tessel::Platform::String());
  if (value->IsString()) (event.*set)(Tessel::Platform::String(value->GetString()));
}

}  // namespace fields
