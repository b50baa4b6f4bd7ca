// The keys that the chrome has reserved. UI thread.
#include "platform/graphics/ReservedKeys.h"

#include <algorithm>
#include <optional>

namespace Tessel::Platform::Graphics {

namespace {

constexpr std::size_t mostKeys = 256;

// Documents' names of keys without a character, and the X keyboard's numbers (keysymdef.h).
struct {
  std::string_view name;
  unsigned int key;
} constexpr namedKeys[] = {
    {"Backspace", 0xFF08},  {"Tab", 0xFF09},       {"Enter", 0xFF0D},     {"Pause", 0xFF13},
    {"Escape", 0xFF1B},     {"Home", 0xFF50},      {"ArrowLeft", 0xFF51}, {"ArrowUp", 0xFF52},
    {"ArrowRight", 0xFF53}, {"ArrowDown", 0xFF54}, {"PageUp", 0xFF55},    {"PageDown", 0xFF56},
    {"End", 0xFF57},        {"Print", 0xFF61},     {"Insert", 0xFF63},    {"ContextMenu", 0xFF67},
    {"Delete", 0xFFFF},     {"Space", ' '},
};
constexpr unsigned int firstFunctionKey = 0xFFBE;
constexpr int functionKeys = 35;
constexpr unsigned int shiftedTab = 0xFE20;

std::optional<unsigned int> functionKeyNamed(std::string_view name) {
  if (name.size() < 2 || name.size() > 3 || name[0] != 'F' || name[1] == '0') return std::nullopt;
  int number = 0;
  for (const char digit : name.substr(1)) {
    if (digit < '0' || digit > '9') return std::nullopt;
    number = number * 10 + (digit - '0');
  }
  if (number > functionKeys) return std::nullopt;
  return firstFunctionKey + static_cast<unsigned int>(number) - 1;
}

std::optional<unsigned int> keyNamed(std::string_view name) {
  if (name.size() == 1) {
    const char character = name[0];
    if (character <= ' ' || character > '~') return std::nullopt;
    const bool isCapital = character >= 'A' && character <= 'Z';
    return static_cast<unsigned int>(isCapital ? character - 'A' + 'a' : character);
  }
  for (const auto& named : namedKeys) {
    if (named.name == name) return named.key;
  }
  return functionKeyNamed(name);
}

std::optional<KeyCombination> combinationNamed(std::string_view name) {
  KeyCombination keys;
  const auto take = [&](std::string_view modifier, bool& held) {
    // "Ctrl+" alone is no key, but "Ctrl++" is.
    if (!name.starts_with(modifier) || name.size() == modifier.size() || held) return false;
    name.remove_prefix(modifier.size());
    held = true;
    return true;
  };
  while (take("Ctrl+", keys.control) || take("Alt+", keys.alt) || take("Shift+", keys.shift) ||
         take("Meta+", keys.meta)) {
  }
  const auto key = keyNamed(name);
  if (!key) return std::nullopt;
  keys.key = *key;
  return keys;
}

// Whether shift makes another key of it. What a sign needs it for depends on the keyboard.
bool countsShift(unsigned int key) {
  return key > '~' || key == ' ' || (key >= 'a' && key <= 'z');
}

}  // namespace

ReservedKeys& ReservedKeys::instance() {
  static auto* keys = new ReservedKeys;
  return *keys;
}

bool ReservedKeys::reserve(const std::vector<std::string_view>& names) {
  if (names.size() > mostKeys) return false;
  std::vector<Reserved> reserved;
  for (const std::string_view name : names) {
    const auto keys = combinationNamed(name);
    if (!keys) return false;
    reserved.push_back({*keys, std::string(name)});
  }
  reserved_ = std::move(reserved);
  return true;
}

bool ReservedKeys::press(KeyCombination pressed, bool isRepeated) {
  if (pressed.key >= 'A' && pressed.key <= 'Z') pressed.key += 'a' - 'A';
  if (pressed.key == shiftedTab) pressed.key = 0xFF09;
  const auto found = std::find_if(reserved_.begin(), reserved_.end(), [&](const Reserved& each) {
    KeyCombination wanted = each.keys;
    if (!countsShift(wanted.key)) wanted.shift = pressed.shift;
    return wanted == pressed;
  });
  if (found == reserved_.end()) return false;
  // The listener may reserve others.
  const std::string name = found->name;
  if (listener_ && !isRepeated) listener_(name);
  return true;
}

}  // namespace Tessel::Platform::Graphics
