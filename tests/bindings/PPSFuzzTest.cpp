// The readers of object files of other programs, and of what the chrome writes into them, fed with
// damaged texts: the same each time, unless a variable asks for others or for more. Main thread.
#include "tests/bindings/PPSRules.h"
#include "tests/support/Mutator.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

void pps_rules::require(bool holds, const char* what, const std::string& text) {
  EXPECT_TRUE(holds) << what << ", for " << ::testing::PrintToString(text);
}

namespace {

using namespace pps_rules;

// Values of every kind, well-formed; some of them at the borders of their kind.
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

// An object of some of these keys with values, perhaps twice, perhaps with a
// foreign one.
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

const std::vector<std::string>& attributeNames() {
  static const std::vector<std::string> list{"a",        "b",  "on", "level", "with space",
                                             "\xc3\xa4", "@x", "-x", ""};
  return list;
}

std::string line(test_support::Mutator& mutator) {
  static const std::vector<std::string> encodings{"", "n", "b", "json", "other"};
  std::string text = mutator.oneOf(attributeNames()) + ":";
  if (mutator.below(8) == 0) return text + "\n";
  return text + mutator.oneOf(encodings) + ":" + mutator.oneOf(values()) + "\n";
}

// Whether the lines that were made were taken.
bool oneRound(test_support::Mutator& mutator) {
  std::string text = mutator.below(2) == 0 ? "@object\n" : "";
  std::string lines;
  for (auto count = mutator.below(6); count > 0; --count) text += line(mutator);
  for (auto count = 1 + mutator.below(3); count > 0; --count) lines += line(mutator);
  std::string json = object(mutator, attributeNames());
  if (mutator.below(2) == 0) {
    text = mutator.damage(text);
    lines = mutator.damage(lines);
    json = mutator.damage(json);
  }
  checkText(text);
  checkJson(json);
  return checkLines(text, lines);
}

test_support::Mutator mutatorOfTexts(std::uint64_t seed) {
  // What the readers look for in the place of other bytes.
  std::vector<std::string> tokens = values();
  std::istringstream words(R"({ } [ ] , : " \ \u0000 \ud800 :n: :b: :json: :: @ "a": "on":)");
  for (std::string word; words >> word;) tokens.push_back(word);
  for (const char* token : {" ", ":\n", "\n", "@object\n", "true\n"}) tokens.emplace_back(token);
  tokens.emplace_back(1, '\0');
  return {seed, std::move(tokens)};
}

std::uint64_t wanted(const char* variable, std::uint64_t usual) {
  const char* wish = std::getenv(variable);
  return wish ? std::strtoull(wish, nullptr, 10) : usual;
}

TEST(PPSFuzzTest, EveryTextKeepsTheRules) {
  test_support::Mutator mutator = mutatorOfTexts(wanted("PAGEHOST_FUZZ_SEED", 20261125));
  const std::uint64_t all = wanted("PAGEHOST_FUZZ_TEXTS", 12000);
  std::uint64_t accepted = 0;
  for (std::uint64_t i = 0; i < all && !HasFailure(); ++i) {
    if (oneRound(mutator)) ++accepted;
  }
  // Of only good or only bad texts, half of the code would not be reached.
  EXPECT_GT(accepted, all / 50);
  EXPECT_GT(all - accepted, all / 50);
}

}  // namespace
