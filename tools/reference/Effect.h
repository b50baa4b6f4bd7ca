// The effect of native functions on this engine. Any thread: constants.
#pragma once

#include <array>

enum class Effect { Real, Kept, Later, Fixed };

struct EffectText {
  const char* name;
  const char* meaning;
};
inline constexpr std::array<EffectText, 4> effectTexts{{
    {"Real", "does what it says"},
    {"Kept", "the value is kept, checked and reported; this engine has nothing to do with it"},
    {"Later", "accepted, and a value is kept; the engine's side of it is not there yet"},
    {"Fixed", "a constant, or nothing to do, by nature"},
}};

constexpr const EffectText& textOf(Effect effect) {
  return effectTexts[static_cast<std::size_t>(effect)];
}
