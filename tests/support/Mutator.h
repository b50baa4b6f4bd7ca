// Mutations of valid bytes, deterministic for a seed. Any one thread.
#pragma once

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace test_support {

class Mutator {
 public:
  // Tokens that are meaningful to the readers; they replace other bytes.
  Mutator(std::uint64_t seed, std::vector<std::string> tokens)
      : random_(seed), tokens_(std::move(tokens)) {}

  std::size_t below(std::size_t limit) { return random_() % limit; }
  template <typename List>
  const auto& oneOf(const List& list) {
    return list[below(std::size(list))];
  }

  // One to four mutations.
  std::string damage(std::string bytes) {
    for (auto faults = 1 + below(4); faults > 0; --faults) damageOnce(bytes);
    return bytes;
  }

 private:
  void damageOnce(std::string& bytes) {
    const std::size_t at = below(bytes.size() + 1);
    switch (below(6)) {
      case 0:
        bytes.insert(at, 1 + below(8), static_cast<char>(random_()));
        break;
      case 1:
        bytes.erase(at, 1 + below(8));
        break;
      case 2:
        bytes.resize(at);
        break;
      case 3: {
        const std::string& token = oneOf(tokens_);
        bytes.replace(at, std::min(token.size(), bytes.size() - at), token);
        break;
      }
      default:
        if (at < bytes.size()) bytes[at] = static_cast<char>(bytes[at] ^ (1 << below(8)));
    }
  }

  std::mt19937_64 random_;
  std::vector<std::string> tokens_;
};

}  // namespace test_support
