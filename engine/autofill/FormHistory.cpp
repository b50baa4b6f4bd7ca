// The texts that were typed into fields of forms. Main thread.
#include "engine/autofill/FormHistory.h"

#include "engine/FieldLists.h"
#include "engine/RecordJson.h"

#include <glib.h>

#include <algorithm>

using Tessel::Platform::String;
using Field = FormHistory::Field;
using Fields = FormHistory::Fields;

template <>
struct fields::FieldsOf<Field> {
  static constexpr std::tuple list{member("name", &FormHistory::Field::name),
                                   member("texts", &FormHistory::Field::texts)};
};
template <>
struct fields::FieldsOf<Fields> {
  static constexpr std::tuple list{member("fields", &Fields::fields)};
};

namespace {

// A malformed file counts as an empty one.
Fields fieldsOf(const String& text) {
  Fields kept;
  fields::readText<fields::Reading::Lenient>(text, kept);
  return kept;
}

bool isWorthKeeping(const String& name, const String& text) {
  return !name.isEmpty() && name.length() <= FormHistory::longestName &&
         text.length() <= FormHistory::longestText &&
         text.view().find_first_not_of(" \t\r\n") != std::string_view::npos;
}

template <typename T>
void keepFirst(std::vector<T>& list, std::size_t most) {
  if (list.size() > most) list.resize(most);
}

void add(Fields& all, const String& name, const String& text) {
  auto& fields = all.fields;
  const auto found = std::find_if(fields.begin(), fields.end(),
                                  [&](const Field& field) { return field.name == name; });
  if (found == fields.end()) {
    fields.insert(fields.begin(), Field{name, {}});
  } else {
    std::rotate(fields.begin(), found, found + 1);
  }
  auto& texts = fields.front().texts;
  std::erase(texts, text);
  texts.insert(texts.begin(), text);
  keepFirst(texts, FormHistory::mostTexts);
}

bool beginsLike(const String& text, const String& beginning) {
  return text.length() > beginning.length() &&
         g_ascii_strncasecmp(text.utf8(), beginning.utf8(), beginning.length()) == 0;
}

}  // namespace

void FormHistory::remember(const std::vector<std::pair<String, String>>& typed) {
  std::vector<std::pair<String, String>> kept;
  std::copy_if(typed.begin(), typed.end(), std::back_inserter(kept),
               [](const auto& one) { return isWorthKeeping(one.first, one.second); });
  keepFirst(kept, mostFields);
  if (kept.empty()) return;
  file_.change([&](const String& before) {
    Fields all = fieldsOf(before);
    for (const auto& [name, text] : kept) add(all, name, text);
    keepFirst(all.fields, mostFields);
    return fields::textOf(all);
  });
}

std::vector<String> FormHistory::offered(const String& name, const String& beginning) {
  if (file_.hasChanged()) known_ = fieldsOf(file_.read());
  std::vector<String> result;
  for (const Field& field : known_.fields) {
    if (field.name != name) continue;
    std::copy_if(field.texts.begin(), field.texts.end(), std::back_inserter(result),
                 [&](const String& text) { return beginsLike(text, beginning); });
  }
  keepFirst(result, mostOffered);
  return result;
}

void FormHistory::clear() {
  file_.change([](const String&) { return String(); });
}
