// Maps names to numbers and back, from one array. Any thread: constexpr.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

struct NumberedName {
  const char* name;
  int number;
};

// The entries are ordered by number, mostly consecutive.
template <std::size_t Count>
class NameTable {
 public:
  constexpr explicit NameTable(const std::array<NumberedName, Count>& names) : names_(names) {
    for (std::size_t i = 0; i < Count; ++i) order_[i] = i;
    std::sort(order_.begin(), order_.end(), [&](std::size_t a, std::size_t b) {
      return std::string_view(names_[a].name) < std::string_view(names_[b].name);
    });
  }

  // "" for a number not in the table.
  constexpr const char* name(int number) const {
    const auto place = static_cast<std::size_t>(static_cast<unsigned int>(number) -
                                                static_cast<unsigned int>(names_[0].number));
    if (place < Count && names_[place].number == number) return names_[place].name;
    for (const NumberedName& entry : names_) {
      if (entry.number == number) return entry.name;
    }
    return "";
  }

  // The number of that name; 0, with notFound set, if there is none.
  constexpr int number(std::string_view text, bool& notFound) const {
    const auto place = std::lower_bound(order_.begin(), order_.end(), text,
                                        [&](std::size_t i, std::string_view wanted) {
                                          return std::string_view(names_[i].name) < wanted;
                                        });
    notFound = place == order_.end() || names_[*place].name != text;
    return notFound ? 0 : names_[*place].number;
  }

  constexpr const std::array<NumberedName, Count>& names() const { return names_; }

 private:
  std::array<NumberedName, Count> names_;
  std::array<std::size_t, Count> order_{};  // indices in byte order of the names
};
