// Creates handlers from the rows of NativeFunctions.def: a row defines the types of arguments and
// result, and its module provides the operation. UI thread.
#pragma once

#include "registry/NativeCall.h"

#include <array>
#include <string_view>

namespace arguments {

// Whether an operation's signature matches its row. The result may be optional, for calls without
// an answer.
template <typename Row, typename Operation>
constexpr bool fits() {
  using Result = Passed<typename Signature<Row>::Result>;
  using Returned = typename Signature<Operation>::Result;
  return std::is_same_v<typename Reader<typename Signature<Row>::Arguments>::Values,
                        typename Signature<Operation>::Arguments> &&
         (std::is_same_v<Returned, Result> || std::is_same_v<Returned, std::optional<Result>> ||
          (std::is_same_v<Result, String> && std::is_convertible_v<Returned, String>));
}

// If the number of arguments is not checked, arguments may be missing.
template <typename Row>
inline constexpr bool needsCount = Reader<typename Signature<Row>::Arguments>::single != 0;

// An operation is a static function, or a member function of the module's singleton.
template <typename Operations, auto operation, Name nameInErrors, typename Row, Name... defaults>
void handle(OrvWebJavaScriptCallbackEvent* event) {
  using Form = Signature<Row>;
  using Arguments = Reader<typename Form::Arguments>;
  static constexpr std::array<Text, sizeof...(defaults)> texts{defaults.text...};
  constexpr CallForm form{nameInErrors.text, 1, 1, texts};
  if (Arguments::wrongCount(*event, form)) return;
  typename Arguments::Values values{};
  if (!Arguments::read(*event, form, values)) return;
  const auto call = [](const auto&... each) {
    if constexpr (std::is_member_function_pointer_v<decltype(operation)>) {
      return (Operations::instance().*operation)(each...);
    } else {
      return operation(each...);
    }
  };
  answer<typename Form::Result>(*event, [&] { return std::apply(call, values); });
}

// Calls add.operator()<handler>(name) for each row of a module, with its operations.
template <Name module, typename Operations, typename Add>
void forEachFunction(const Add& add) {
  constexpr auto is = [](std::string_view other) { return other == module.text; };
#define DOC(...)
#define FUNCTION(owner, ...) || is(#owner)
  static_assert(false
#include "registry/NativeFunctions.def"
                ,
                "no row of NativeFunctions.def belongs to this module");
#undef FUNCTION
#define FUNCTION(owner, name, operation, group, nameInErrors, Row, ...)                            \
  if constexpr (is(#owner)) {                                                                      \
    static_assert(fits<Row, decltype(&Operations::operation)>(),                                   \
                  name ": its operation has other types than its row");                            \
    static_assert(sizeof(nameInErrors) > 1 || !needsCount<Row>,                                    \
                  name ": it needs a name in errors");                                             \
    add.template operator()<                                                                       \
        handle<Operations, &Operations::operation, nameInErrors, Row __VA_OPT__(, ) __VA_ARGS__>>( \
        name);                                                                                     \
  }
#include "registry/NativeFunctions.def"
#undef FUNCTION
#undef DOC
}

// Registers the functions of a module.
template <Name module, typename Operations>
void registerFunctions(BindingManager& bindings) {
  forEachFunction<module, Operations>(
      [&]<BindingHandler handler>(const char* name) { bindings.registerBinding(name, handler); });
}

}  // namespace arguments
