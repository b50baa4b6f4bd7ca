// Whether the rows of a table of native functions are documented. Evaluated by the compiler.
#pragma once

#include <algorithm>
#include <span>
#include <string_view>
#include <tuple>

namespace table_documentation {

// What stands for a row, by the types of its arguments, and what for a DOC, by its list of names.
template <typename Arguments>
inline constexpr int row = -1 - static_cast<int>(std::tuple_size_v<Arguments>);
constexpr int namesIn(std::string_view list) {
  return list.empty() ? 0 : 1 + static_cast<int>(std::count(list.begin(), list.end(), ','));
}

// Whether one DOC follows each row and names as many arguments as it has.
constexpr bool isComplete(std::span<const int> entries) {
  for (std::size_t i = 0; i < entries.size(); i += 2) {
    if (i + 1 == entries.size() || entries[i] != -1 - entries[i + 1]) return false;
  }
  return true;
}

}  // namespace table_documentation
