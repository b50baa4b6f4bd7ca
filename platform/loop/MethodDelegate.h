// A deferred call: a method, a guarded target and up to three arguments. Does nothing if the target
// is gone by then. Call it on the target's thread.
#pragma once

#include "platform/loop/GuardedPointer.h"

#include <tuple>
#include <utility>

namespace Tessel::Platform {

template <typename Target, typename... Arguments>
class MethodDelegate {
  static_assert(sizeof...(Arguments) <= 3, "a delegate carries at most three arguments");

 public:
  using Method = void (Target::*)(Arguments...);

  MethodDelegate(Target* target, Method method, std::decay_t<Arguments>... arguments)
      : target_(target), method_(method), arguments_(std::move(arguments)...) {}

  void operator()() const {
    if (GuardedPin<Target> target(target_); target) {
      std::apply([&](const auto&... values) { (target.get()->*method_)(values...); }, arguments_);
    }
  }

 private:
  GuardedPointer<Target> target_;
  Method method_;
  std::tuple<std::decay_t<Arguments>...> arguments_;
};

template <typename Target>
using MethodDelegate0 = MethodDelegate<Target>;
template <typename Target, typename A>
using MethodDelegate1 = MethodDelegate<Target, A>;
template <typename Target, typename A, typename B>
using MethodDelegate2 = MethodDelegate<Target, A, B>;
template <typename Target, typename A, typename B, typename C>
using MethodDelegate3 = MethodDelegate<Target, A, B, C>;

}  // namespace Tessel::Platform
