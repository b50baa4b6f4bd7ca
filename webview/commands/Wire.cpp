// Reading the JSON forms in which records and lists cross. UI thread.
#include "webview/commands/Wire.h"

#include "webview/WebView.h"
#include "webview/WebViewManager.h"

namespace commands {

namespace {

// A member of that name, or nothing that is any type's.
const rapidjson::Value& member(const rapidjson::Value& object, const char* name) {
  static const rapidjson::Value none;
  const auto found = object.FindMember(name);
  return found == object.MemberEnd() ? none : found->value;
}

String textMember(const rapidjson::Value& object, const char* name) {
  const rapidjson::Value& value = member(object, name);
  return value.IsString() ? String(std::string_view(value.GetString(), value.GetStringLength()))
                          : String();
}

int integerMember(const rapidjson::Value& object, const char* name) {
  const rapidjson::Value& value = member(object, name);
  return value.IsInt() ? value.GetInt() : 0;
}

bool parseJson(const String& text, rapidjson::Document& document) {
  document.Parse<rapidjson::kParseIterativeFlag>(text.utf8(), text.length());
  return !document.HasParseError();
}

}  // namespace

template <>
bool JsonForm<OrvWebPoint>::parse(const String& text, OrvWebPoint& value) {
  return readMembers(text.utf8(), {{"x", &value.x}, {"y", &value.y}});
}

template <>
bool JsonForm<OrvWebSize>::parse(const String& text, OrvWebSize& value) {
  return readMembers(text.utf8(), {{"height", &value.height}, {"width", &value.width}});
}

template <>
bool JsonForm<OrvWebRect>::parse(const String& text, OrvWebRect& value) {
  return Value<OrvWebRect>::parse(text.utf8(), value);
}

template <>
bool JsonForm<std::vector<String>>::parse(const String& text, std::vector<String>& value) {
  return Value<std::vector<String>>::parse(text.utf8(), value);
}

template <>
bool JsonForm<std::vector<JavaScriptVariant>>::parse(const String& text,
                                                     std::vector<JavaScriptVariant>& value) {
  return Value<std::vector<JavaScriptVariant>>::parse(text.utf8(), value);
}

template <>
bool JsonForm<OrvWebFavicon>::parse(const String& text, OrvWebFavicon& value) {
  rapidjson::Document document;
  if (!parseJson(text, document) || !document.IsObject()) return false;
  value = OrvWebFavicon(textMember(document, "dataInBase64"), textMember(document, "url"),
                        integerMember(document, "width"), integerMember(document, "height"));
  return true;
}

template <>
bool JsonForm<std::vector<OrvWebHistoryItem>>::parse(const String& text,
                                                     std::vector<OrvWebHistoryItem>& items) {
  rapidjson::Document document;
  if (!parseJson(text, document) || !document.IsArray()) return false;
  for (const rapidjson::Value& item : document.GetArray()) {
    if (!item.IsObject()) return false;
    items.emplace_back(textMember(item, "url"), textMember(item, "originalURL"),
                       textMember(item, "title"), member(item, "isPost").IsTrue());
  }
  return true;
}

bool Wire<OrvWebView*>::decode(const Field& field, OrvWebView*& value) {
  const auto handle = static_cast<unsigned int>(std::strtoul(field.data(), nullptr, 10));
  value = WebViewManager::instance().webViewForHandle(handle);
  return true;
}

}  // namespace commands
