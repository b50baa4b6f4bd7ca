// The readers of records, and what is written of what they read. Main thread.
#include "tests/fuzz/Fuzzers.h"
#include "webview/events/RecordFields.h"
#include "webview/events/RecordReaders.h"

namespace fuzz {

namespace {

using Tessel::Platform::String;
using Items = std::vector<OrvWebHistoryItem>;
using Texts = std::vector<String>;
using Variants = std::vector<JavaScriptVariant>;

template <typename Record>
std::vector<std::string> keysOf() {
  std::vector<std::string> keys;
  std::apply([&](const auto&... entry) { (keys.emplace_back(entry.readAs), ...); },
             fields::FieldsOf<Record>::list);
  std::erase(keys, "");
  return keys;
}

template <typename Record>
std::string textOf(const Record& record) {
  return fields::textOf(record).toStdString();
}

// What the chrome would give for the record: what is written, but for icons.
template <typename Record>
std::string given(const Record& record) {
  if constexpr (std::is_same_v<Record, OrvWebFavicon>) {
    return R"({"iconDataBase64Encoded":)" + textOf(record.dataInBase64()) + R"(,"url":)" +
           textOf(record.url()) + "}";
  } else {
    return textOf(record);
  }
}

// What no text is read as by chance.
template <typename Record>
Record somethingElse() {
  if constexpr (std::is_same_v<Record, OrvWebFavicon>) {
    return {"something", "else"};
  } else if constexpr (fields::List<Record>) {
    return Record(77);
  } else {
    return {77, 77};
  }
}

// What is read is either whole or nothing, and survives being written and read again.
template <typename Record>
bool check(const std::string& text) {
  const Record before = somethingElse<Record>();
  Record record = before;
  const bool accepted = readRecord(text, record);
  require(accepted || record == before, "a refused text has changed a record", text);
  require(recordFromJSON<Record>(text) == (accepted ? record : Record()), "the readers disagree",
          text);

  const std::string once = given(record);
  Record again{};
  require(readRecord(once, again), "what was written is not read", once);
  // Not the same text for numbers: a minus before a zero is lost with the fraction.
  const std::string twice = given(again);
  require(once == twice || once.find("-0") != std::string::npos, "another text each time", once);
  return accepted;
}

// Byte for byte what the library's writer makes of it.
void checkEscapes(const std::string& bytes) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  writer.String(bytes.data(), static_cast<rapidjson::SizeType>(bytes.size()));
  require(textOf(String(bytes)) == std::string_view(buffer.GetString(), buffer.GetSize()),
          "escaped in another way", bytes);
}

std::string seed(test_support::Mutator& mutator) {
  static const std::vector<std::vector<std::string>> records{
      keysOf<OrvWebRect>(), keysOf<OrvWebPoint>(), keysOf<OrvWebSize>(), keysOf<OrvWebFavicon>(),
      keysOf<OrvWebHistoryItem>()};
  // Mostly of the right kind: whole records are rare otherwise.
  const auto record = [&](const std::vector<std::string>& keys) {
    std::string text = object(mutator, keys);
    if (mutator.below(2) != 0) return text;
    text = "{";
    for (const std::string& key : keys) {
      const bool number = key == "x" || key == "y" || key == "width" || key == "height";
      text += (text.size() > 1 ? ",\"" : "\"") + key + "\":" +
              (number            ? "-12.5"
               : key == "isPost" ? "true"
                                 : R"("t\u00e4\u0000")");
    }
    return text + "}";
  };
  if (mutator.below(2) == 0) return record(mutator.oneOf(records));
  std::string text = "[";
  for (auto count = mutator.below(6); count > 0; --count) {
    if (text.size() > 1) text += ",";
    text += mutator.below(2) == 0 ? record(records.back()) : mutator.oneOf(values());
  }
  return text + "]";
}

}  // namespace

std::vector<std::string> recordKeys() {
  std::vector<std::string> keys;
  const auto add = [&](const std::vector<std::string>& some) {
    keys.insert(keys.end(), some.begin(), some.end());
  };
  add(keysOf<OrvWebRect>());
  add(keysOf<OrvWebFavicon>());
  add(keysOf<OrvWebHistoryItem>());
  return keys;
}

void fuzzRecords(test_support::Mutator& mutator, Tally& tally) {
  std::string text = seed(mutator);
  if (mutator.below(2) != 0) text = mutator.damage(text);
  ++tally.all;
  // Not short-circuited: each reader is to see every text.
  if (check<OrvWebRect>(text) | check<OrvWebPoint>(text) | check<OrvWebSize>(text) |
      check<OrvWebFavicon>(text) | check<Items>(text) | check<Texts>(text) |
      check<Variants>(text)) {
    ++tally.accepted;
  }
  checkEscapes(text);
}

}  // namespace fuzz
