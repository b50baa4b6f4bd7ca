// The list of the fields of a record or event, from which JSON writing, JSON reading and TypeScript
// are derived. Any thread: compile-time constants.
//
//   template <> struct fields::FieldsOf<Point> {
//     static constexpr std::tuple list{member("x", &Point::x), member("y", &Point::y)};
//   };
#pragma once

#include <algorithm>
#include <array>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

namespace fields {

// A key and the source of its value: a member function, a function of the object, or a data member.
// The type of the value determines the encoding.
template <typename Getter>
struct Field {
  std::string_view key;
  Getter get;
  std::string_view readAs{};  // the key to read the member from; "" for write-only
};
template <typename Getter>
constexpr Field<Getter> field(std::string_view key, Getter get) {
  return {key, get};
}
template <typename Class, typename Value>
constexpr Field<Value Class::*> member(std::string_view key, Value Class::*value,
                                       std::string_view readAs) {
  return {key, value, readAs};
}
template <typename Class, typename Value>
constexpr Field<Value Class::*> member(std::string_view key, Value Class::*value) {
  return {key, value, key};
}

// Specialised for each event class (its own fields only) and for each record.
template <typename Class>
struct FieldsOf {
  static constexpr std::tuple<> list{};
};

template <typename Record>
concept HasFields = std::tuple_size_v<std::remove_const_t<decltype(FieldsOf<Record>::list)>> >
0;

// The indices of a list, sorted by key in byte order.
template <typename List>
constexpr auto keyOrder(const List& list) {
  constexpr std::size_t count = std::tuple_size_v<List>;
  std::array<std::string_view, count> keys{};
  std::apply([&](const auto&... entry) { keys = {entry.key...}; }, list);
  std::array<std::size_t, count> order{};
  for (std::size_t i = 0; i < count; ++i) order[i] = i;
  std::sort(order.begin(), order.end(),
            [&](std::size_t a, std::size_t b) { return keys[a] < keys[b]; });
  for (std::size_t i = 1; i < count; ++i) {
    if (keys[order[i - 1]] == keys[order[i]]) throw "a key stands twice";
  }
  return order;
}

// A Holder is a type with a constexpr member named list.
template <typename Holder>
inline constexpr auto keyOrderOf = keyOrder(Holder::list);
template <typename Holder>
inline constexpr auto listOrderOf = [] {
  std::array<std::size_t, std::tuple_size_v<decltype(Holder::list)>> order{};
  for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
  return order;
}();

// Visits the entries of a list in byte order of their keys.
template <typename Holder, typename Visit>
void forEachInKeyOrder(Visit&& visit) {
  static constexpr auto& order = keyOrderOf<Holder>;
  [&]<std::size_t... I>(std::index_sequence<I...>) {
    (visit(std::get<order[I]>(Holder::list)), ...);
  }
  (std::make_index_sequence<order.size()>());
}

}  // namespace fields
