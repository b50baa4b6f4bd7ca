// Common code of all native function calls: checks the number of arguments, reads them in order,
// and returns the result. UI thread.
#pragma once

#include "engine/OrvWebEvent.h"
#include "registry/Arguments.h"
#include "registry/BindingManager.h"

#include <algorithm>
#include <type_traits>
#include <utility>

namespace arguments {

// A string as a template argument, so that each function has its own plain handler.
template <std::size_t Size>
struct Name {
  char text[Size]{};
  // NOLINTNEXTLINE(google-explicit-constructor): a string literal is meant to become one
  constexpr Name(const char (&literal)[Size]) { std::copy_n(literal, Size, text); }
};

// The argument and result types of an operation, without references.
template <typename Operation>
struct Signature;
template <typename R, typename... Args>
struct Signature<R(Args...)> {
  using Result = std::remove_cvref_t<R>;
  using Arguments = std::tuple<std::remove_cvref_t<Args>...>;
};
template <typename R, typename... Args>
struct Signature<R (*)(Args...)> : Signature<R(Args...)> {};
template <typename R, typename Class, typename... Args>
struct Signature<R (Class::*)(Args...)> : Signature<R(Args...)> {};
template <typename R, typename Class, typename... Args>
struct Signature<R (Class::*)(Args...) const> : Signature<R(Args...)> {};

// Properties of a function other than its types.
struct CallForm {
  const char* name;  // in errors; empty if the number of arguments is not checked
  // The number of arguments before those of the operation, and how many of them errors count.
  int leading;
  int counted;
  // Default values of the last arguments.
  std::span<const Text> defaults;
};

// Reads arguments; the parameter is a tuple of their types.
template <typename Arguments>
struct Reader;
template <typename... Types>
struct Reader<std::tuple<Types...>> {
  using Event = OrvWebJavaScriptCallbackEvent;
  using Values = std::tuple<Passed<Types>...>;

  static constexpr int count = sizeof...(Types);
  static constexpr int groups = (0 + ... + static_cast<int>(isGroups<Types>));
  // The non-repeated arguments, and those of them that are optional without a default.
  static constexpr int single = count - groups;
  static constexpr int optional = (0 + ... + static_cast<int>(isOptional<Types>));

  // True, with an error reported, for a wrong number of arguments. For too few or incomplete groups
  // the error names the minimum.
  static bool wrongCount(const Event& event, const CallForm& form) {
    if (*form.name == '\0') return false;
    const int given = static_cast<int>(event.numArgs()) - form.leading + form.counted;
    const int all = form.counted + single;
    if constexpr (groups != 0) {
      using Last = std::tuple_element_t<count - 1, std::tuple<Types...>>;
      const int least = all + Last::leastGroups * Last::size;
      const bool whole = given >= least && (given - all) % Last::size == 0;
      return !whole && BindingManager::checkArgumentCount(given, least, form.name);
    } else {
      const int leftOut = optional + static_cast<int>(form.defaults.size());
      return BindingManager::checkArgumentCount(given, all - leftOut, form.name,
                                                leftOut > 0 ? all : -1);
    }
  }

  // Reads the arguments in order; their number must have been checked. False if one is rejected,
  // which is reported, or makes the call a no-op.
  static bool read([[maybe_unused]] const Event& event, [[maybe_unused]] const CallForm& form,
                   [[maybe_unused]] Values& values) {
    return [&]<std::size_t... I>(std::index_sequence<I...>) {
      return (readOne<Types>(event, form, static_cast<int>(I), std::get<I>(values)) && ...);
    }
    (std::make_index_sequence<sizeof...(Types)>());
  }

 private:
  template <typename T>
  static bool readOne(const Event& event, const CallForm& form, int position, Passed<T>& value) {
    const std::span<const Text> all(event.args(), event.numArgs());
    const auto index = static_cast<std::size_t>(position + form.leading);
    if constexpr (isGroups<T>) {
      value = T(all.subspan(index));
      return true;
    } else if constexpr (isOptional<T>) {
      return index >= all.size() ||
             readOne<typename T::value_type>(event, form, position, value.emplace());
    } else {
      return readText<T>(index < all.size() ? all[index] : defaultOf(form, position), form,
                         position, value);
    }
  }

  template <typename T>
  static bool readText(Text text, const CallForm& form, int position, Passed<T>& value) {
    if constexpr (!requires { Value<T>::readsNull; }) {
      if (!text) text = "";
    }
    if (!Value<T>::parse(text, value)) {
      int first = 0;
      if constexpr (requires { T::firstPosition; }) first = T::firstPosition;
      BindingManager::reportArgumentError(first + position, text, form.name);
      return false;
    }
    if constexpr (requires { Value<T>::endsCall(value); }) return !Value<T>::endsCall(value);
    return true;
  }

  static Text defaultOf(const CallForm& form, int position) {
    const auto fromEnd = static_cast<std::size_t>(count - position);
    const std::size_t known = form.defaults.size();
    return fromEnd <= known ? form.defaults[known - fromEnd] : nullptr;
  }
};

// Runs the call and sets the result, if any.
template <typename Result, typename Call>
void answer(OrvWebJavaScriptCallbackEvent& event, const Call& call) {
  if constexpr (std::is_void_v<Result>) {
    call();
  } else if constexpr (isOptional<std::remove_cvref_t<decltype(call())>>) {
    if (const auto result = call()) event.setResult(Value<Result>::text(*result));
  } else {
    event.setResult(Value<Result>::text(call()));
  }
}

}  // namespace arguments
