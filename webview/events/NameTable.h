// Names to numbers and back, from one array: the position of a name is its number. Any thread:
// everything is made at compile time.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

template <std::size_t Count>
class NameTable {
 public:
  constexpr explicit NameTable(const std::array<const char*, Count>& names) : names_(names) {
    for (std::size_t i = 0; i < Count; ++i) order_[i] = i;
    std::sort(order_.begin(), order_.end(), [&](std::size_t a, std::size_t b) {
      return std::string_view(names_[a]) < std::string_view(names_[b]);
    });
  }

  // "" for a number outside the table.
  constexpr const char* name(int number) const {
    return number >= 0 && static_cast<std::size_t>(number) < Count
               ? names_[static_cast<std::size_t>(number)]
               : "";
  }

  // The number of exactly that name; 0, and notFound is set, when there is none.
  constexpr int number(const char* name, bool& notFound) const {
    const std::string_view text(name ? name : "");
    const auto place = std::lower_bound(
        order_.begin(), order_.end(), text,
        [&](std::size_t i, std::string_view t) { return std::string_view(names_[i]) < t; });
    notFound = place == order_.end() || names_[*place] != text;
    return notFound ? 0 : static_cast<int>(*place);
  }

  constexpr std::size_t size() const { return Count; }

 private:
  std::array<const char*, Count> names_;
  std::array<std::size_t, Count> order_{};  // numbers in byte order of their names
};
