// What the fuzzers make their texts of. Any thread.
#include "tests/fuzz/Fuzzers.h"

#include <sstream>

namespace fuzz {

const std::vector<std::string>& values() {
  static const std::vector<std::string> list = [] {
    std::vector<std::string> all{std::string(40, '[') + std::string(40, ']'),
                                 "\"" + std::string(3000, 'y') + "\"",
                                 R"("\ud83d\ude00 \u00e4 \"\\\n")", "\"\xc3\xa4\xff\""};
    std::istringstream words(
        R"(true false null 0 -0 1 -1 7 2147483647 -2147483648 2147483648 -2147483649 4294967295 )"
        R"(4294967296 18446744073709551615 18446744073709551616 0.0 2.0 -2.9 1e3 1E-7 1e308 1e309 )"
        R"(5e308 123456789.125 "" "x" "true" "5" "1" "4294967296" "-1" "cut\u0000here" "ACCEPT" )"
        R"("DENY" "CREATE" "DISCARD" "ActionSave" "ActionMax" "Deny" [] {} [[]] ["a",1,true] )"
        R"({"x":1})");
    for (std::string word; words >> word;) all.push_back(word);
    return all;
  }();
  return list;
}

std::string object(test_support::Mutator& mutator, const std::vector<std::string>& keys) {
  std::string text = "{";
  const auto add = [&](const std::string& key) {
    text.append(text.size() > 1 ? ",\"" : "\"").append(key).append("\":");
    text.append(mutator.oneOf(values()));
  };
  // Whole records must be among them: each key is there more often than not.
  for (const std::string& key : keys) {
    if (mutator.below(8) != 0) add(key);
  }
  if (!keys.empty() && mutator.below(4) == 0) add(mutator.oneOf(keys));
  if (mutator.below(4) == 0) add("other");
  return text + "}";
}

test_support::Mutator mutatorOfTexts(std::uint64_t seed) {
  std::vector<std::string> tokens = values();
  for (const auto& keys : {recordKeys(), answerKeys()}) {
    for (const std::string& key : keys) tokens.push_back("\"" + key + "\":");
  }
  for (const char* token : {"{", "}", "[", "]", ",", ":", "\"", "\\", "\\u0000", "\\ud800", " "}) {
    tokens.emplace_back(token);
  }
  for (const std::string& token : objectTokens()) tokens.push_back(token);
  return {seed, std::move(tokens)};
}

}  // namespace fuzz
