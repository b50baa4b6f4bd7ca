// The fuzzers. Each takes one text and checks everything that must hold whatever it is. Main
// thread.
#pragma once

#include "engine/OrvWebEvent.h"
#include "tests/support/Mutator.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace fuzz {

// How many texts were taken for something, of all.
struct Tally {
  std::uint64_t all = 0;
  std::uint64_t accepted = 0;
};

// Fails, with the text, when that does not hold.
void require(bool holds, const char* what, const std::string& text);

// Values of every kind, well-formed; some of them at the borders of their kind.
const std::vector<std::string>& values();

// An object of some of these keys with values, perhaps twice, perhaps with a foreign one.
std::string object(test_support::Mutator& mutator, const std::vector<std::string>& keys);

// Puts what the readers look for in the place of other bytes.
test_support::Mutator mutatorOfTexts(std::uint64_t seed);

// Readers of records: one round of each.
void fuzzRecords(test_support::Mutator& mutator, Tally& tally);
std::vector<std::string> recordKeys();

// The answers to events: one round with an event of some type.
void fuzzAnswers(test_support::Mutator& mutator, Tally& tally);
std::vector<std::string> answerKeys();
// A new event of every type, in their order.
std::vector<std::unique_ptr<OrvWebEvent>> everyEvent();

// Files of shared objects, and what is written into them: one round of each.
void fuzzObjects(test_support::Mutator& mutator, Tally& tally);
std::vector<std::string> objectTokens();

}  // namespace fuzz
