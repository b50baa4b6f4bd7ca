// Whether the rows of a table of native functions are documented. Evaluated by the compiler.
#pragma once

#include <algorithm>
#include <span>
#include <string_view>
#include <tuple>

namespace table_documentation {

// A row, with its name, or a DOC, without one.
struct Entry {
  const char* name;
  int arguments;
};
template <typename Arguments>
constexpr Entry row(const char* name) {
  return {name, static_cast<int>(std::tuple_size_v<Arguments>)};
}
constexpr Entry doc(std::string_view names) {
  const auto commas = std::count(names.begin(), names.end(), ',');
  return {nullptr, names.empty() ? 0 : 1 + static_cast<int>(commas)};
}

// The name of a row; empty for none.
struct RowName {
  char text[64]{};
};
// The first row that is not followed by one DOC that names as many arguments as it has.
constexpr RowName firstUndocumented(std::span<const Entry> entries) {
  RowName row;
  for (std::size_t i = 0; i < entries.size(); i += 2) {
    const bool hasDoc = i + 1 < entries.size() && !entries[i + 1].name;
    if (hasDoc && entries[i + 1].arguments == entries[i].arguments) continue;
    std::copy_n(entries[i].name, std::string_view(entries[i].name).size(), row.text);
    break;
  }
  return row;
}

// Does not compile with the name of a row, which the error shows.
template <RowName row>
struct AllBut {
  static constexpr bool areDocumented = row.text[0] == '\0';
  static_assert(areDocumented, "one DOC follows each row and names all its arguments");
};

}  // namespace table_documentation
